#include <LpmTrie/LpmTrieNode.h>
#include <LpmTrie/Module.h>
#include <LpmTrie/ReturnCodes.h>

#include <ostream>

namespace LpmTrie {

constinit Vexo::FwkType const TrieReturnCode::fwkType_("LpmTrie::TrieReturnCode", lpmTrieModule, 3);
constinit Vexo::FwkType const TrieNodeReturnCode::fwkType_("LpmTrie::TrieNodeReturnCode",
                                                           lpmTrieModule, 4);
constinit Vexo::FwkType const TrieTraversalReturnCode::fwkType_("LpmTrie::TrieTraversalReturnCode",
                                                                lpmTrieModule, 5);
constinit Vexo::FwkType const TrieFindMergeReturnCode::fwkType_("LpmTrie::TrieFindMergeReturnCode",
                                                                lpmTrieModule, 7);

TrieReturnCode::TrieReturnCode(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}
TrieNodeReturnCode::TrieNodeReturnCode(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}
TrieTraversalReturnCode::TrieTraversalReturnCode(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}
TrieFindMergeReturnCode::TrieFindMergeReturnCode(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}

std::ostream& operator<<(std::ostream& out, TrieReturnCode const& code) {
    return out << Vexo::valueToStrep(code);
}
std::ostream& operator<<(std::ostream& out, TrieNodeReturnCode const& code) {
    return out << Vexo::valueToStrep(code);
}
std::ostream& operator<<(std::ostream& out, TrieTraversalReturnCode const& code) {
    return out << Vexo::valueToStrep(code);
}
std::ostream& operator<<(std::ostream& out, TrieFindMergeReturnCode const& code) {
    return out << Vexo::valueToStrep(code);
}

}  // namespace LpmTrie

namespace Vexo {

template <>
LpmTrie::Node* deserializeAttr<LpmTrie::Node*>(CharRange& range, char const* fieldName) {
    try {
        void* pointer = nullptr;
        sequenceToValue(range, &pointer);
        return static_cast<LpmTrie::Node*>(pointer);
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

}  // namespace Vexo
