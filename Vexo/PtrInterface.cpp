#include <Vexo/Attribute.h>
#include <Vexo/ObjectNames.h>
#include <Vexo/PtrInterface.h>
#include <Vexo/Sassert.h>

#include <algorithm>

namespace Vexo {

namespace {
constexpr char const* source = "Vexo/PtrInterface";

constexpr std::array attributes{valueAttribute<&PtrInterface::references>("references")};
constinit TypeDescription const description{.attributes = attributes};
}  // namespace

namespace Detail {
constinit std::atomic<bool> threadSafePtrMode{false};
}

constinit FwkModule const vexoModule("Vexo", "Vexo/Vexo");
constinit FwkType const PtrInterface::fwkType_("Vexo::PtrInterface", vexoModule, 1, description);

void NotifieeList::notifieeIs(Notifiee* notifiee) {
    if (std::find(notifiees_.begin(), notifiees_.end(), notifiee) == notifiees_.end()) {
        notifiees_.push_back(notifiee);
    }
}

void NotifieeList::notifieeDel(Notifiee* notifiee) noexcept {
    auto const place = std::find(notifiees_.begin(), notifiees_.end(), notifiee);
    if (place == notifiees_.end()) {
        return;
    }
    if (static_cast<std::size_t>(place - notifiees_.begin()) < next_) {
        --next_;
    }
    notifiees_.erase(place);
}

void NotifieeList::zeroReferences(PtrInterface& notifier) noexcept {
    for (next_ = 0; next_ < notifiees_.size();) {
        Notifiee* const notifiee = notifiees_[next_++];
        notifiee->zeroReferences(notifier);
    }
    next_ = 0;
}

NotifieeList* PtrInterface::notifieeList() {
    return nullptr;
}

void PtrInterface::zeroReferencesIs() {
    if (hasNotificationActive()) {
        if (NotifieeList* notifiees = notifieeList()) {
            notifiees->zeroReferences(*this);
        }
    }
    delete this;
}

FwkType const* PtrInterface::fwkType() const {
    return &fwkType_;
}

PtrInterface::~PtrInterface() {
    if ((word_.load(std::memory_order_relaxed) & namedInText_) != 0) {
        ObjectNames::forget(this);
    }
}

bool PtrInterface::referencesIncUnlessZero() const noexcept {
    U32 word = word_.load(std::memory_order_relaxed);
    while ((word & referenceMask_) != 0) {
        if ((word & referenceMask_) == referenceMask_) {
            failOverflow();
        }
        if (word_.compare_exchange_weak(word, word + 1, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

void PtrInterface::failOverflow() const noexcept {
    SassertHelper("references() < referenceMask_", source, __LINE__,
                  "void Vexo::PtrInterface::referencesInc() const")
        .fail("object:", static_cast<void const*>(this));
}

void PtrInterface::lastReferenceGone(U32 before) const noexcept {
    VEXO_SASSERT(source, "void Vexo::PtrInterface::referencesDec() const",
                 (before & referenceMask_) > 0, "object:", static_cast<void const*>(this));
    const_cast<PtrInterface*>(this)->zeroReferencesIs();
}

}  // namespace Vexo
