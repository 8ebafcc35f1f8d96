#include <fuzz/ScriptChecks.h>
#include <fuzz/ScriptMisuse.h>
#include <fuzz/ScriptProgram.h>
#include <fuzz/ScriptTypes.h>

namespace Fuzz {

namespace {

constexpr std::array<std::uint64_t, 8> oddNumbers{
    255, 256, 65535, 65536, 0xffffffff, 0x100000000, 0x7fffffffffffffff, ~std::uint64_t{0}};
constexpr std::size_t mostObjects = 64;

}  // namespace

void ScriptProgram::run() {
    while (!input_.empty()) {
        step();
    }
    endObjects();
}

void ScriptProgram::step() {
    switch (input_.below(8)) {
    case 0:
        return makeScalar();
    case 1:
    case 2:
        return makeByType();
    case 3:
        return ask();
    case 4:
        return askForAnother();
    case 5:
        return useCollection();
    case 6:
        return callFunction();
    default:
        return useAttribute();
    }
}

template <class Call>
void ScriptProgram::take(Call const& call) {
    Slot given;
    if (checkSlot(call, given)) {
        slot() = std::move(given);
    }
}

Operands ScriptProgram::operands() {
    Operands all(input_.below(6));
    for (VexoValue const*& one : all) {
        one = slot();
    }
    return all;
}

/** Of an attribute that there is, or any. */
std::string ScriptProgram::name(VexoValue* self) {
    std::size_t const choice = input_.byte();
    VexoType const* const type = vexoValueType(self);
    if (choice == 0xff || type == nullptr) {
        std::string const text(input_.text());
        return text.c_str();  // up to a NUL
    }
    std::size_t count = 0;
    while (vexoTypeAttribute(type, count) != nullptr) {
        ++count;
    }
    return count == 0 ? "" : vexoAttributeName(vexoTypeAttribute(type, choice % count));
}

void ScriptProgram::makeScalar() {
    std::size_t const kind = input_.below(6);
    if (kind == 0) {
        take([&](VexoValue** out) { return vexoNone(out); });
    } else if (kind == 1) {
        take([&](VexoValue** out) { return vexoFromBool(input_.byte(), out); });
    } else if (kind == 2) {
        take([&](VexoValue** out) {
            return vexoFromNumber(oddNumbers[input_.below(oddNumbers.size())], out);
        });
    } else if (kind == 3) {
        take([&](VexoValue** out) { return vexoFromNumber(input_.byte(), out); });
    } else {
        std::string_view const text = input_.text();
        take([&](VexoValue** out) { return vexoFromString(text.data(), text.size(), out); });
    }
}

void ScriptProgram::makeByType() {
    VexoType const* const type = types()[input_.below(types().size())];
    if (input_.flag()) {
        std::string_view const text = input_.text();
        return take(
            [&](VexoValue** out) { return vexoFromText(type, text.data(), text.size(), out); });
    }
    Operands const given = operands();
    Slot made;
    bool const isMade =
        objects_.size() < mostObjects &&
        checkSlot([&](VexoValue** out) { return vexoMake(type, given.data(), given.size(), out); },
                  made);
    if (isMade && !isTooLarge(made)) {
        keepObject(made);
        slot() = std::move(made);
    }
}

void ScriptProgram::keepObject(Slot const& made) {
    if (vexoTypeIsValue(vexoValueType(made)) == 0) {
        VexoValue* again = nullptr;
        require(vexoCopy(made, &again) == VEXO_DONE, "a reference can be copied");
        objects_.emplace_back(again);
        if (isTrie(made)) {
            Slot const family = Slot::number(input_.flag() ? 2 : 1);
            require(vexoSet(made, "af", family) == VEXO_DONE, "a trie takes a family");
        }
    }
}

void ScriptProgram::ask() {
    VexoValue* const a = slot();
    VexoValue* const b = slot();
    checkFlag([&](int* out) { return vexoTruth(a, out); });
    checkFlag([&](int* out) { return vexoEqual(a, b, out); });
    checkFlag([&](int* out) { return vexoLess(a, b, out); });
    checkFlag([&](int* out) { return vexoToBool(a, out); });
    checkNumber([&](std::uint64_t* out) { return vexoToNumber(a, out); });
    checkNumber([&](std::uint64_t* out) {
        std::uint32_t hash = 0;
        VexoStatus const status = vexoHash(a, &hash);
        *out = status == VEXO_DONE ? hash : *out;
        return status;
    });
    std::string const attribute = name(a);
    checkNumber([&](std::uint64_t* out) { return vexoCount(a, attribute.c_str(), out); });
    checkNumber([&](std::uint64_t* out) { return vexoCapacity(a, attribute.c_str(), out); });
    if (VexoType const* const type = vexoValueType(a)) {
        require(vexoFindType(vexoTypeName(type)) == type, "a type is found by its name");
        static_cast<void>(vexoTypeAttributeNumber(type, attribute.c_str()));
    }
}

/** Text and back, and a copy. */
void ScriptProgram::askForAnother() {
    VexoValue* const from = slot();
    if (input_.flag()) {
        return take([&](VexoValue** out) { return vexoText(from, out); });
    }
    Slot copy;
    require(checkSlot([&](VexoValue** out) { return vexoCopy(from, out); }, copy),
            "any slot can be copied");
    int equal = 1;
    require(vexoEqual(from, copy, &equal) != VEXO_DONE || equal == 1, "a copy is equal");
    slot() = std::move(copy);
}

void ScriptProgram::useAttribute() {
    VexoValue* const self = slot();
    std::string const attribute = name(self);
    switch (input_.below(3)) {
    case 0:
        return take([&](VexoValue** out) { return vexoGet(self, attribute.c_str(), out); });
    case 1: {
        VexoValue* const operand = slot();
        if (!isMisuse(self, attribute)) {
            check(vexoSet(self, attribute.c_str(), operand));
        }
        return;
    }
    default:
        return call(self, attribute);
    }
}

void ScriptProgram::call(VexoValue* self, std::string const& attribute) {
    Operands given = operands();
    if (isMisuse(self, attribute) || isRefused(self, attribute, given)) {
        return;
    }
    Slot const unseen = Slot::number(nowhere());
    if (!given.empty() && isDump(self, attribute)) {
        given[0] = unseen;
    }
    take([&](VexoValue** out) {
        return vexoCall(self, attribute.c_str(), given.data(), given.size(), out);
    });
}

void ScriptProgram::callFunction() {
    std::vector<VexoModule const*> const all = modules();
    VexoModule const* const module = all[input_.below(all.size())];
    VexoAttribute const* const function = vexoModuleFunction(module, input_.below(4));
    std::string const called(function != nullptr ? vexoAttributeName(function) : input_.text());
    Operands const given = operands();
    take([&](VexoValue** out) {
        return vexoCallFunction(module, called.c_str(), given.data(), given.size(), out);
    });
}

void ScriptProgram::useCollection() {
    VexoValue* const self = slot();
    std::string const attribute = name(self);
    VexoValue* const key = slot();
    switch (input_.below(5)) {
    case 0:
        return take([&](VexoValue** out) { return vexoLookUp(self, attribute.c_str(), key, out); });
    case 1:
        check(vexoPut(self, attribute.c_str(), key, slot()));
        return;
    case 2:
        return checkFlag(
            [&](int* found) { return vexoErase(self, attribute.c_str(), key, found); });
    case 3:
        return checkFlag(
            [&](int* found) { return vexoContains(self, attribute.c_str(), key, found); });
    default:
        return take([&](VexoValue** out) {
            return vexoKeyAt(self, attribute.c_str(), input_.byte(), out);
        });
    }
}

void ScriptProgram::endObjects() {
    Slot const nothing;
    for (Slot const& object : objects_) {
        if (isTrie(object)) {
            emptyTrie(object);
        } else {
            // Trees have neighbours, in circles too; others have none to part.
            static_cast<void>(vexoSet(object, "neighbour", nothing));
        }
    }
}

}  // namespace Fuzz
