#include <LpmTrie/LpmTrieTypes.h>
#include <Vexo/Attribute.h>
#include <Vexo/Hash.h>
#include <Vexo/Registry.h>
#include <Vexo/Trace.h>

#include <array>
#include <ostream>

namespace LpmTrie {

namespace {

constexpr char const* source = "LpmTrie/LpmTrieTypes";
constinit Vexo::TraceHandle trace("LpmTrieTypes");

struct Flag {
    char const* name;
    bool (PendingState::*get)() const noexcept;
    void (PendingState::*put)(bool) noexcept;
};

/** In the order of their bits and of the text form. */
constexpr std::array<Flag, 4> flags{{
    {"createPartition", &PendingState::createPartition, &PendingState::createPartition},
    {"removePartition", &PendingState::removePartition, &PendingState::removePartition},
    {"splittingPartition", &PendingState::splittingPartition, &PendingState::splittingPartition},
    {"maxPendingState", &PendingState::maxPendingState, &PendingState::maxPendingState},
}};

constexpr char const* pendingStateFrame = "Value('LpmTrie::PendingState', ** {";

}  // namespace

constinit Vexo::FwkModule const lpmTrieTypesModule("LpmTrieTypes", source);

namespace {

using namespace Vexo;

constexpr auto numberAttributes =
    joinRows(recordAttributes<PartitionIdValue>(),
             std::array{valueAttribute<&PartitionIdValue::hash>("hash")});
constexpr ValueOps numberOps = valueOps<PartitionIdValue>();
constexpr Attribute numberConstructor =
    functionAttribute<&construct<PartitionIdValue, U32>>("PartitionIdValue", "value");
constinit TypeDescription const numberDescription{
    .attributes = numberAttributes, .value = &numberOps, .constructor = &numberConstructor};

using Get = bool (PendingState::*)() const noexcept;
using Put = void (PendingState::*)(bool) noexcept;

constexpr std::array stateAttributes{
    valueAttribute<Get(&PendingState::createPartition), Put(&PendingState::createPartition)>(
        "createPartition"),
    valueAttribute<Get(&PendingState::removePartition), Put(&PendingState::removePartition)>(
        "removePartition"),
    valueAttribute<Get(&PendingState::splittingPartition), Put(&PendingState::splittingPartition)>(
        "splittingPartition"),
    valueAttribute<Get(&PendingState::maxPendingState), Put(&PendingState::maxPendingState)>(
        "maxPendingState"),
    valueAttribute<&PendingState::value>("value"),
    valueAttribute<&PendingState::createPartition_>("createPartition_"),
    valueAttribute<&PendingState::removePartition_>("removePartition_"),
    valueAttribute<&PendingState::splittingPartition_>("splittingPartition_"),
    valueAttribute<&PendingState::maxPendingState_>("maxPendingState_"),
};
constexpr ValueOps stateOps = valueOps<PendingState>();
constexpr Attribute stateConstructor =
    functionAttribute<&construct<PendingState, unsigned char>>("PendingState", "value");
constinit TypeDescription const stateDescription{
    .attributes = stateAttributes, .value = &stateOps, .constructor = &stateConstructor};

constexpr std::array partitionIdAttributes{
    valueAttribute<&PartitionId::id>("id"),
    valueAttribute<&PartitionId::mask>("mask"),
    functionAttribute<&PartitionId::handleConstruction>("handleConstruction"),
    functionAttribute<&PartitionId::handleDestruction>("handleDestruction"),
    valueAttribute<&PartitionId::bitMap>("bitMap"),
};
constexpr Attribute partitionIdConstructor =
    functionAttribute<&PartitionId::PartitionIdIs>("PartitionId", "id", "mask", "bitMap");
constinit TypeDescription const partitionIdDescription{.base = &PtrInterface::fwkType_,
                                                       .attributes = partitionIdAttributes,
                                                       .constructor = &partitionIdConstructor};

// The stream library first: traces of the registered types may run before main().
std::ios_base::Init const streams;
ModuleRegistration const registration(lpmTrieTypesModule,
                                      {&PartitionId::fwkType_, &PendingState::fwkType_,
                                       &PartitionIdValue::fwkType_});

}  // namespace

constinit FwkType const PartitionId::fwkType_("LpmTrie::PartitionId", lpmTrieTypesModule, 1,
                                              partitionIdDescription);
constinit FwkType const PendingState::fwkType_("LpmTrie::PendingState", lpmTrieTypesModule, 2,
                                               stateDescription);
constinit FwkType const PartitionIdValue::fwkType_("LpmTrie::PartitionIdValue", lpmTrieTypesModule,
                                                   3, numberDescription);

PartitionIdValue::PartitionIdValue(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}

std::ostream& operator<<(std::ostream& out, PartitionIdValue const& id) {
    return out << id.value();
}

PendingState::PendingState(unsigned char v) : value_(v & allFlags_) {
    if (v > allFlags_) {
        Vexo::throwDenseEnumBoolSetRangeException(fwkType_, v);
    }
}

PendingState::PendingState(Vexo::CharRange& range) {
    range.needString(pendingStateFrame);
    char const* separator = "'";
    for (Flag const& flag : flags) {
        range.needString(separator + String(flag.name) + "': ");
        (this->*flag.put)(Vexo::deserializeAttr<bool>(range, flag.name));
        separator = ", '";
    }
    range.needString("})");
}

U32 PendingState::hash() const noexcept {
    return Vexo::hashOf(value_);
}

String valueToStrep(PendingState const& state) {
    String text = pendingStateFrame;
    char const* separator = "'";
    for (Flag const& flag : flags) {
        text += separator + String(flag.name) + "': " + Vexo::valueToStrep((state.*flag.get)());
        separator = ", '";
    }
    return text + "})";
}

std::ostream& operator<<(std::ostream& out, PendingState const& state) {
    return out << valueToStrep(state);
}

PartitionId::PartitionId(PartitionIdValue id, U32 mask, Vexo::Ptr<Torvel::Bitmap> const& bitMap)
    : id_(id), mask_(mask), bitMap_(bitMap) {
    handleConstruction();
}

PartitionId::Ptr PartitionId::PartitionIdIs(PartitionIdValue id, U32 mask,
                                            Vexo::Ptr<Torvel::Bitmap> const& bitMap) {
    Ptr partitionId(new PartitionId(id, mask, bitMap));
    partitionId->hasNotificationActiveIs(true);
    return partitionId;
}

Vexo::FwkType const* PartitionId::fwkType() const {
    return &fwkType_;
}

PartitionId::~PartitionId() {
    handleDestruction();
}

void PartitionId::handleConstruction() {
    VEXO_TRACE_LINE(trace, 9, source, "void LpmTrie::PartitionId::handleConstruction()", ": ", " ",
                    id_.value(), " bitmap:", static_cast<void const*>(bitMap_.get()));
    if (bitMap_) {
        bitMap_->setBit(id_.value() & mask_);
    }
}

void PartitionId::handleDestruction() {
    VEXO_TRACE_LINE(trace, 9, source, "void LpmTrie::PartitionId::handleDestruction()", ": ", " ",
                    id_.value(), " bitmap:", static_cast<void const*>(bitMap_.get()));
    if (bitMap_) {
        bitMap_->clearBit(id_.value() & mask_);
    }
}

std::ostream& operator<<(std::ostream& out, PartitionId const* id) {
    if (id == nullptr) {
        return out << "PartitionId null";
    }
    return out << "PartitionId:" << id->id() << " references:" << id->references();
}

}  // namespace LpmTrie

namespace Vexo {

template <>
Ptr<LpmTrie::PartitionId> deserializeAttr<Ptr<LpmTrie::PartitionId>>(CharRange& range,
                                                                     char const* fieldName) {
    try {
        Ptr<PtrInterface> const object = sequenceToValueOfPtr(range);
        Ptr<LpmTrie::PartitionId> id = dynamicPtrCast<LpmTrie::PartitionId>(object);
        if (object && !id) {
            CharRange::cannotConvert(range, LpmTrie::PartitionId::fwkType_);
        }
        return id;
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

}  // namespace Vexo
