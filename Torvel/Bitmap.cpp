#include <Torvel/Bitmap.h>
#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>

#include <algorithm>
#include <bit>

namespace Torvel {

namespace {

constexpr U32 wordBits = 64;
constexpr U64 fullWord = ~U64{0};

constexpr U64 maskOf(U32 index) noexcept {
    return U64{1} << (index % wordBits);
}

using namespace Vexo;

constexpr std::array attributes{
    valueAttribute<&Bitmap::limit>("limit"),
    valueAttribute<&Bitmap::count>("count"),
    functionAttribute<&Bitmap::setBit>("setBit", "index"),
    functionAttribute<&Bitmap::clearBit>("clearBit", "index"),
    functionAttribute<&Bitmap::isSet>("isSet", "index"),
    functionAttribute<&Bitmap::takeNextFree>("takeNextFree"),
};
constexpr Attribute constructor = functionAttribute<&Bitmap::BitmapIs>("Bitmap", "limit");
constinit TypeDescription const description{
    .base = &PtrInterface::fwkType_, .attributes = attributes, .constructor = &constructor};
ModuleRegistration const registration(torvelModule, {&Bitmap::fwkType_});

}  // namespace

constinit Vexo::FwkModule const torvelModule("Torvel", "Torvel/Torvel");
constinit Vexo::FwkType const Bitmap::fwkType_("Torvel::Bitmap", torvelModule, 1, description);

Bitmap::Ptr Bitmap::BitmapIs(U32 limit) {
    Ptr bitmap(new Bitmap(limit));
    bitmap->hasNotificationActiveIs(true);
    return bitmap;
}

Vexo::FwkType const* Bitmap::fwkType() const {
    return &fwkType_;
}

std::unique_lock<std::mutex> Bitmap::lock() const noexcept {
    return Vexo::threadSafePtr() ? std::unique_lock(mutex_)
                                 : std::unique_lock(mutex_, std::defer_lock);
}

void Bitmap::setBit(U32 index) {
    auto const guard = lock();
    set(index);
}

void Bitmap::set(U32 index) {
    if (index >= limit_) {
        throw Vexo::RangeException(
            Vexo::formatString("bit %u is beyond a bitmap of %u bits", index, limit_));
    }
    std::size_t const word = index / wordBits;
    if (word >= words_.size()) {
        words_.resize(
            std::max(word + 1, std::min<std::size_t>(words_.size() * 2, limit_ / wordBits)));
    }
    if ((words_[word] & maskOf(index)) == 0) {
        words_[word] |= maskOf(index);
        ++count_;
    }
}

void Bitmap::clearBit(U32 index) noexcept {
    auto const guard = lock();
    std::size_t const word = index / wordBits;
    if (word < words_.size() && (words_[word] & maskOf(index)) != 0) {
        words_[word] &= ~maskOf(index);
        --count_;
        firstWithRoom_ = std::min(firstWithRoom_, word);
    }
}

bool Bitmap::isSet(U32 index) const noexcept {
    auto const guard = lock();
    std::size_t const word = index / wordBits;
    return word < words_.size() && (words_[word] & maskOf(index)) != 0;
}

U32 Bitmap::count() const noexcept {
    auto const guard = lock();
    return count_;
}

std::optional<U32> Bitmap::nextFree(U32 from) const noexcept {
    auto const guard = lock();
    return findFree(from);
}

std::optional<U32> Bitmap::findFree(U32 from) const noexcept {
    std::size_t word = from / wordBits;
    U64 taken = word < words_.size() ? words_[word] | (maskOf(from) - 1) : maskOf(from) - 1;
    if (word < firstWithRoom_) {
        word = firstWithRoom_;
        taken = words_[word];  // which is there: one of its bits was taken
    }
    while (taken == fullWord) {
        ++word;
        taken = word < words_.size() ? words_[word] : 0;
    }
    U64 const index = word * U64{wordBits} + static_cast<U64>(std::countr_one(taken));
    return index < limit_ ? std::optional(static_cast<U32>(index)) : std::nullopt;
}

U32 Bitmap::takeNextFree() {
    auto const guard = lock();
    std::optional<U32> const index = findFree(0);
    if (!index) {
        throw Vexo::RangeException(
            Vexo::formatString("all of a bitmap's %u bits are taken", limit_));
    }
    set(*index);
    firstWithRoom_ = *index / wordBits;  // the lowest free bit was here, so all below is full
    return *index;
}

}  // namespace Torvel
