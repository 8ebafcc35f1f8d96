#include <LpmTrie/LpmTrieTypes.h>
#include <Vexo/Hash.h>
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
constinit Vexo::FwkType const PartitionId::fwkType_("LpmTrie::PartitionId", lpmTrieTypesModule, 1);
constinit Vexo::FwkType const PendingState::fwkType_("LpmTrie::PendingState", lpmTrieTypesModule,
                                                     2);
constinit Vexo::FwkType const PartitionIdValue::fwkType_("LpmTrie::PartitionIdValue",
                                                         lpmTrieTypesModule, 3);

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
