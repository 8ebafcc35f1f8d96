#include <Vexo/ObjectNames.h>

#include <cinttypes>
#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace Vexo {

namespace {

constinit std::mutex namesMutex;

std::unordered_map<U64, PtrInterface*>& names() {
    // Deliberate: never destroyed, objects may outlive every static of this file.
    static auto& map = *new std::unordered_map<U64, PtrInterface*>;
    return map;
}

U64 addressOf(PtrInterface const* object) noexcept {
    return static_cast<U64>(reinterpret_cast<std::uintptr_t>(object));
}

}  // namespace

String ObjectNames::name(PtrInterface const* object) {
    if (object == nullptr) {
        return "None";
    }
    String text =
        formatString("Object('%s', 0x%" PRIx64 ")", object->fwkType()->name(), addressOf(object));
    std::lock_guard const lock(namesMutex);
    names().insert_or_assign(addressOf(object), const_cast<PtrInterface*>(object));
    object->flagIs(PtrInterface::namedInText_, true);
    return text;
}

Ptr<PtrInterface> ObjectNames::find(String const& typeName, U64 address) {
    Ptr<PtrInterface> object;
    {
        std::lock_guard const lock(namesMutex);
        auto const entry = names().find(address);
        if (entry == names().end() || !entry->second->referencesIncUnlessZero()) {
            return nullptr;
        }
        object = Ptr<PtrInterface>::adopt(entry->second);
    }
    // Past the lock: should this be the last reference by now, the object's end takes it again.
    return typeName == object->fwkType()->name() ? object : nullptr;
}

void ObjectNames::forget(PtrInterface const* object) noexcept {
    std::lock_guard const lock(namesMutex);
    names().erase(addressOf(object));
}

}  // namespace Vexo
