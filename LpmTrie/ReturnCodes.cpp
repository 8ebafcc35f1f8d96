#include <LpmTrie/LpmTrieNode.h>
#include <LpmTrie/Module.h>
#include <LpmTrie/ReturnCodes.h>
#include <Vexo/Attribute.h>

#include <ostream>

namespace LpmTrie {

namespace {

using namespace Vexo;

/** The records differ in their fields alone. */
template <Record R>
struct Described {
    static constexpr auto attributes_ = recordAttributes<R>();
    static constexpr ValueOps ops_ = valueOps<R>();
    static constexpr TypeDescription description_{.attributes = attributes_, .value = &ops_};
};

}  // namespace

constinit FwkType const TrieReturnCode::fwkType_("LpmTrie::TrieReturnCode", lpmTrieModule, 3,
                                                 Described<TrieReturnCode>::description_);
constinit FwkType const TrieNodeReturnCode::fwkType_("LpmTrie::TrieNodeReturnCode", lpmTrieModule,
                                                     4,
                                                     Described<TrieNodeReturnCode>::description_);
constinit FwkType const TrieTraversalReturnCode::fwkType_(
    "LpmTrie::TrieTraversalReturnCode", lpmTrieModule, 5,
    Described<TrieTraversalReturnCode>::description_);
constinit FwkType const TrieFindMergeReturnCode::fwkType_(
    "LpmTrie::TrieFindMergeReturnCode", lpmTrieModule, 7,
    Described<TrieFindMergeReturnCode>::description_);

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
