#pragma once

#include <Vexo/Script.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/ScriptSlot.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

/* Short ways to make slots of the C interface. */

namespace ScriptTests {

using Slot = TestSupport::ScriptSlot;

inline Slot none() {
    Slot slot;
    EXPECT_EQ(vexoNone(slot.out()), VEXO_DONE);
    return slot;
}
inline Slot flag(bool value) {
    Slot slot;
    EXPECT_EQ(vexoFromBool(value ? 1 : 0, slot.out()), VEXO_DONE);
    return slot;
}
inline Slot number(std::uint64_t value) {
    Slot slot;
    EXPECT_EQ(vexoFromNumber(value, slot.out()), VEXO_DONE);
    return slot;
}
inline Slot string(std::string const& value) {
    Slot slot;
    EXPECT_EQ(vexoFromString(value.data(), value.size(), slot.out()), VEXO_DONE);
    return slot;
}
inline VexoType const* typeOf(char const* name) {
    VexoType const* const type = vexoFindType(name);
    EXPECT_NE(type, nullptr) << name;
    return type;
}
inline Slot make(char const* typeName, std::vector<VexoValue const*> const& operands = {}) {
    Slot slot;
    EXPECT_EQ(vexoMake(typeOf(typeName), operands.data(), operands.size(), slot.out()), VEXO_DONE)
        << vexoMessage();
    return slot;
}
inline Slot tree(std::uint64_t height = 3) {
    return make("Orchard::Tree", {number(height), string("oak")});
}
inline Slot apple(std::uint64_t weight, bool ripe = false) {
    return make("Orchard::Apple", {number(weight), flag(ripe)});
}

inline std::uint64_t numberIn(VexoValue const* value) {
    std::uint64_t out = 0;
    EXPECT_EQ(vexoToNumber(value, &out), VEXO_DONE) << vexoMessage();
    return out;
}
inline bool flagIn(VexoValue const* value) {
    int out = 2;
    EXPECT_EQ(vexoToBool(value, &out), VEXO_DONE) << vexoMessage();
    return out == 1;
}
inline std::string stringIn(VexoValue const* value) {
    char const* bytes = nullptr;
    std::size_t length = 0;
    EXPECT_EQ(vexoToString(value, &bytes, &length), VEXO_DONE) << vexoMessage();
    return {bytes, length};
}
inline std::string textOf(VexoValue const* value) {
    Slot text;
    EXPECT_EQ(vexoText(value, text.out()), VEXO_DONE) << vexoMessage();
    return stringIn(text);
}
inline Slot get(VexoValue* self, char const* attribute) {
    Slot slot;
    EXPECT_EQ(vexoGet(self, attribute, slot.out()), VEXO_DONE) << vexoMessage();
    return slot;
}

/** Expects that `status` is that of a call that failed with this message. */
inline void expectFailed(VexoStatus status, VexoStatus wanted, std::string const& message) {
    EXPECT_EQ(status, wanted);
    EXPECT_EQ(vexoMessage(), message);
}

/** The elements of a listing, up to the null at its end. */
template <class List>
auto listed(List const& list) {
    std::vector<decltype(list(std::size_t{0}))> all;
    while (auto const element = list(all.size())) {
        all.push_back(element);
    }
    EXPECT_EQ(list(all.size() + 1), nullptr);
    EXPECT_EQ(list(~std::size_t{0}), nullptr);
    return all;
}

}  // namespace ScriptTests
