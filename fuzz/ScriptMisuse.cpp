#include <fuzz/ScriptMisuse.h>

#include <fcntl.h>

namespace Fuzz {

namespace {

constexpr char const* trieType = "LpmTrie::Trie";
constexpr std::uint64_t mostBits = 1U << 16;

bool isOfType(VexoValue const* value, char const* name) {
    VexoType const* const type = vexoValueType(value);
    return type != nullptr && std::string_view(vexoTypeName(type)) == name;
}

}  // namespace

bool isTrie(VexoValue const* value) {
    return isOfType(value, trieType) && vexoIsNull(value) == 0;
}

bool isMisuse(VexoValue const* self, std::string const& attribute) {
    return isTrie(self) && (attribute == "af" || attribute == "verify");
}

bool isRefused(VexoValue const* self, std::string const& attribute, Operands const& operands) {
    if (!isTrie(self) || attribute != "insertFromRoot") {
        return false;
    }
    Operands question{self};
    question.insert(question.end(), operands.begin(), operands.end());
    VexoValue* answer = nullptr;
    VexoStatus const status =
        vexoCallFunction(vexoTypeModule(vexoFindType(trieType)), "insertionRefusal",
                         question.data(), question.size(), &answer);
    // What cannot be asked for its operands is refused for them as well.
    return status == VEXO_DONE && !Slot(answer).textIn().empty();
}

bool isDump(VexoValue const* self, std::string const& attribute) {
    return isTrie(self) && attribute.starts_with("dump");
}

std::uint64_t nowhere() {
    static int const descriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
    require(descriptor >= 0, "the null device can be opened");
    return static_cast<std::uint64_t>(descriptor);
}

bool isTooLarge(Slot const& made) {
    return isOfType(made, "Torvel::Bitmap") && made.attribute("limit").numberIn() > mostBits;
}

void emptyTrie(VexoValue const* trie) {
    VexoValue* out = nullptr;
    require(vexoCallFunction(vexoTypeModule(vexoFindType(trieType)), "removeAll", &trie, 1, &out) ==
                VEXO_DONE,
            "a trie can be emptied");
    vexoRelease(out);
}

}  // namespace Fuzz
