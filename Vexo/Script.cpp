#include <Vexo/AttributeAccess.h>
#include <Vexo/Registry.h>
#include <Vexo/Script.h>
#include <Vexo/Trace.h>
#include <Vexo/TrackedAllocation.h>

#include <algorithm>
#include <memory>
#include <new>

/*
 * Handles are the framework's own constants and slots under another name: a pointer is turned into
 * the opaque one and back, and nothing is looked at through the opaque type. `guarded` stands
 * around everything that can throw.
 */

using namespace Vexo;

namespace {

thread_local String lastMessage;
thread_local char const* lastText = "";

void messageIs(char const* text) noexcept {
    try {
        lastMessage = text;
        lastText = lastMessage.c_str();
    } catch (...) {
        lastText = "out of memory";
    }
}

VexoStatus failed(VexoStatus status, char const* text) noexcept {
    messageIs(text);
    return status;
}

/** Runs `work`; an exception becomes a status and a message. */
template <class Work>
VexoStatus guarded(Work const& work) noexcept {
    try {
        return work();
    } catch (ConversionException const& error) {
        return failed(VEXO_WRONG_TYPE, error.what());
    } catch (RangeException const& error) {
        return failed(VEXO_OUT_OF_RANGE, error.what());
    } catch (UnhashableException const& error) {
        return failed(VEXO_NOT_HASHABLE, error.what());
    } catch (std::bad_alloc const&) {
        return failed(VEXO_NO_MEMORY, "out of memory");
    } catch (std::exception const& error) {
        return failed(VEXO_FAILED, error.what());
    } catch (...) {
        return failed(VEXO_FAILED, "an exception of an unknown type");
    }
}

FwkModule const& of(VexoModule const* module) noexcept {
    return *reinterpret_cast<FwkModule const*>(module);
}
FwkType const& of(VexoType const* type) noexcept {
    return *reinterpret_cast<FwkType const*>(type);
}
Attribute const& of(VexoAttribute const* attribute) noexcept {
    return *reinterpret_cast<Attribute const*>(attribute);
}
Value const& of(VexoValue const* value) noexcept {
    return *reinterpret_cast<Value const*>(value);
}
Value& of(VexoValue* value) noexcept {
    return *reinterpret_cast<Value*>(value);
}

VexoModule const* handle(FwkModule const* module) noexcept {
    return reinterpret_cast<VexoModule const*>(module);
}
VexoType const* handle(FwkType const* type) noexcept {
    return reinterpret_cast<VexoType const*>(type);
}
VexoAttribute const* handle(Attribute const* attribute) noexcept {
    return reinterpret_cast<VexoAttribute const*>(attribute);
}

/** A slot for the caller, made before a call whose result it is to hold. */
class Room {
public:
    explicit Room(VexoValue** out) : out_(out), slot_(out != nullptr ? new Value : nullptr) {}
    VexoStatus give(Value value) noexcept {
        if (slot_ != nullptr) {
            slot_->swap(value);
            *out_ = reinterpret_cast<VexoValue*>(slot_.release());
        }
        return VEXO_DONE;
    }

private:
    VexoValue** out_;
    std::unique_ptr<Value> slot_;
};

VexoStatus give(Value value, VexoValue** out) {
    return Room(out).give(std::move(value));
}

/** Element `index` of a listing that is made anew; null past its end and when memory ends. */
template <class Make>
auto elementOf(Make const& make, std::size_t index) noexcept ->
    typename decltype(make())::value_type {
    try {
        auto const list = make();
        return index < list.size() ? list[index] : nullptr;
    } catch (...) {
        return nullptr;
    }
}

std::vector<Value> copiesOf(VexoValue const* const* operands, std::size_t count) {
    std::vector<Value> copies;
    copies.reserve(count);
    std::for_each_n(operands, count,
                    [&](VexoValue const* operand) { copies.push_back(of(operand)); });
    return copies;
}

char const* nameOf(AttributeOperation operation) noexcept {
    switch (operation) {
    case AttributeOperation::get:
        return "read";
    case AttributeOperation::set:
        return "written";
    case AttributeOperation::call:
        return "called";
    case AttributeOperation::truth:
        return "tested for truth";
    case AttributeOperation::equal:
    case AttributeOperation::less:
        return "compared so";
    default:
        return "used as a collection";
    }
}

VexoStatus refused(AttributeStatus status, String const& owner, String const& attribute,
                   AttributeOperation operation) {
    if (status == AttributeStatus::noSuchAttribute) {
        return failed(VEXO_NO_SUCH_ATTRIBUTE,
                      (owner + " has no attribute '" + attribute + "'").c_str());
    }
    String const what = attribute.empty() ? owner : "attribute '" + attribute + "' of " + owner;
    return failed(VEXO_NOT_ALLOWED, (what + " cannot be " + nameOf(operation)).c_str());
}

String ownerOf(Value const& self) {
    return self.isNone() ? "nothing" : self.type()->name();
}

/** One request; `take` receives the result of one that was done. */
template <class Take>
VexoStatus request(VexoValue* self, char const* attribute, AttributeOperation operation,
                   std::span<Value const> operands, Take const& take) noexcept {
    return guarded([&] {
        Value result;
        auto const status = attributeOperation(of(self), attribute, operation, operands, &result);
        if (status != AttributeStatus::done) {
            return refused(status, ownerOf(of(self)), attribute, operation);
        }
        return take(std::move(result));
    });
}

auto into(VexoValue** out) {
    return [out](Value result) { return give(std::move(result), out); };
}
auto into(int* out) {
    return [out](Value const& result) {
        *out = unbox<bool>(result, "result") ? 1 : 0;
        return VEXO_DONE;
    };
}
auto into(std::uint64_t* out) {
    return [out](Value const& result) {
        *out = unbox<U64>(result, "result");
        return VEXO_DONE;
    };
}

VexoStatus compare(VexoValue const* a, VexoValue const* b, AttributeOperation operation, int* out) {
    return guarded([&] {
        Value result;
        auto const operands = b != nullptr ? std::span(&of(b), 1) : std::span<Value const>();
        auto const status = valueOperation(of(a), operation, operands, &result);
        if (status != AttributeStatus::done) {
            return refused(status, ownerOf(of(a)), "", operation);
        }
        return into(out)(result);
    });
}

}  // namespace

char const* vexoMessage(void) {
    return lastText;
}

VexoModule const* vexoModule(size_t index) {
    return handle(elementOf(registeredModules, index));
}
char const* vexoModuleName(VexoModule const* module) {
    return of(module).name();
}
char const* vexoModuleSource(VexoModule const* module) {
    return of(module).source();
}
VexoType const* vexoModuleType(VexoModule const* module, size_t index) {
    return handle(elementOf([&] { return registeredTypes(of(module)); }, index));
}
VexoAttribute const* vexoModuleFunction(VexoModule const* module, size_t index) {
    for (Attribute const& function : registeredFunctions(of(module))) {
        if (function.serve != nullptr && index-- == 0) {
            return handle(&function);
        }
    }
    return nullptr;
}

VexoType const* vexoFindType(char const* name) {
    try {
        return handle(findType(name));
    } catch (...) {
        return nullptr;
    }
}
char const* vexoTypeName(VexoType const* type) {
    return of(type).name();
}
VexoModule const* vexoTypeModule(VexoType const* type) {
    return handle(&of(type).module());
}
uint32_t vexoTypeNumber(VexoType const* type) {
    return of(type).number();
}
VexoType const* vexoTypeBase(VexoType const* type) {
    return handle(of(type).description().base);
}
int vexoTypeIsValue(VexoType const* type) {
    return of(type).description().value != nullptr ? 1 : 0;
}
int vexoTypeHasHash(VexoType const* type) {
    ValueOps const* const ops = of(type).description().value;
    return ops == nullptr || ops->hash != nullptr ? 1 : 0;
}
int vexoTypeHasOrder(VexoType const* type) {
    ValueOps const* const ops = of(type).description().value;
    return ops != nullptr && ops->less != nullptr ? 1 : 0;
}
VexoAttribute const* vexoTypeAttribute(VexoType const* type, size_t index) {
    return handle(elementOf([&] { return servedAttributes(of(type)); }, index));
}
VexoAttribute const* vexoTypeConstructor(VexoType const* type) {
    return handle(of(type).description().constructor);
}
uint32_t vexoTypeAttributeNumber(VexoType const* type, char const* attribute) {
    try {
        return attributeNumber(of(type), attribute);
    } catch (...) {
        return 0;
    }
}

char const* vexoAttributeName(VexoAttribute const* attribute) {
    return of(attribute).name;
}
VexoKind vexoAttributeKind(VexoAttribute const* attribute) {
    return static_cast<VexoKind>(of(attribute).kind);
}
int vexoAttributeIsReadable(VexoAttribute const* attribute) {
    return of(attribute).readable ? 1 : 0;
}
int vexoAttributeIsWritable(VexoAttribute const* attribute) {
    return of(attribute).writable ? 1 : 0;
}
VexoType const* vexoAttributeType(VexoAttribute const* attribute) {
    return handle(of(attribute).type.type);
}
int vexoAttributeIsReference(VexoAttribute const* attribute) {
    return of(attribute).type.reference ? 1 : 0;
}
VexoType const* vexoAttributeKeyType(VexoAttribute const* attribute) {
    return handle(of(attribute).keyType.type);
}
size_t vexoParameterCount(VexoAttribute const* function) {
    return of(function).parameterCount;
}
char const* vexoParameterName(VexoAttribute const* function, size_t index) {
    return index < of(function).parameterCount ? of(function).parameters[index].name : nullptr;
}
VexoType const* vexoParameterType(VexoAttribute const* function, size_t index) {
    return index < of(function).parameterCount ? handle(of(function).parameters[index].type.type)
                                               : nullptr;
}
int vexoParameterIsReference(VexoAttribute const* function, size_t index) {
    return index < of(function).parameterCount && of(function).parameters[index].type.reference ? 1
                                                                                                : 0;
}

VexoStatus vexoNone(VexoValue** out) {
    return guarded([&] { return give(Value(), out); });
}
VexoStatus vexoFromBool(int value, VexoValue** out) {
    return guarded([&] { return give(box(value != 0), out); });
}
VexoStatus vexoFromNumber(uint64_t value, VexoValue** out) {
    return guarded([&] { return give(box(U64{value}), out); });
}
VexoStatus vexoFromString(char const* bytes, size_t length, VexoValue** out) {
    return guarded([&] { return give(box(String(bytes, length)), out); });
}
VexoStatus vexoFromText(VexoType const* type, char const* bytes, size_t length, VexoValue** out) {
    return guarded([&] { return give(valueFromText(of(type), String(bytes, length)), out); });
}
VexoStatus vexoMake(VexoType const* type, VexoValue const* const* operands, size_t count,
                    VexoValue** out) {
    return guarded([&] { return give(createByType(of(type), copiesOf(operands, count)), out); });
}
VexoStatus vexoCopy(VexoValue const* value, VexoValue** out) {
    return guarded([&] { return give(of(value), out); });
}
void vexoRelease(VexoValue* value) {
    delete reinterpret_cast<Value*>(value);
}

VexoType const* vexoValueType(VexoValue const* value) {
    return handle(of(value).type());
}
int vexoIsNull(VexoValue const* value) {
    return of(value).data() == nullptr && !of(value).object() ? 1 : 0;
}
VexoStatus vexoToBool(VexoValue const* value, int* out) {
    return guarded([&] {
        *out = unbox<bool>(of(value), "slot") ? 1 : 0;
        return VEXO_DONE;
    });
}
VexoStatus vexoToNumber(VexoValue const* value, uint64_t* out) {
    return guarded([&] {
        *out = unbox<U64>(of(value), "slot");
        return VEXO_DONE;
    });
}
VexoStatus vexoToString(VexoValue const* value, char const** bytes, size_t* length) {
    return guarded([&] {
        if (of(value).data() == nullptr || of(value).type() != &stringType) {
            throw ConversionException("slot", "String", of(value).typeName());
        }
        auto const& text = *static_cast<String const*>(of(value).data());
        *bytes = text.data();
        *length = text.size();
        return VEXO_DONE;
    });
}
VexoStatus vexoText(VexoValue const* value, VexoValue** out) {
    return guarded([&] { return give(box(valueText(of(value))), out); });
}

VexoStatus vexoTruth(VexoValue const* value, int* out) {
    return compare(value, nullptr, AttributeOperation::truth, out);
}
VexoStatus vexoEqual(VexoValue const* a, VexoValue const* b, int* out) {
    return compare(a, b, AttributeOperation::equal, out);
}
VexoStatus vexoLess(VexoValue const* a, VexoValue const* b, int* out) {
    return compare(a, b, AttributeOperation::less, out);
}
VexoStatus vexoHash(VexoValue const* value, uint32_t* out) {
    return guarded([&] {
        *out = valueHash(of(value));
        return VEXO_DONE;
    });
}

VexoStatus vexoGet(VexoValue* self, char const* attribute, VexoValue** out) {
    return request(self, attribute, AttributeOperation::get, {}, into(out));
}
VexoStatus vexoSet(VexoValue* self, char const* attribute, VexoValue const* operand) {
    return request(self, attribute, AttributeOperation::set, std::span(&of(operand), 1),
                   [](Value const&) { return VEXO_DONE; });
}
VexoStatus vexoCall(VexoValue* self, char const* attribute, VexoValue const* const* operands,
                    size_t count, VexoValue** out) {
    return guarded([&] {
        Room room(out);
        return request(self, attribute, AttributeOperation::call, copiesOf(operands, count),
                       [&](Value result) { return room.give(std::move(result)); });
    });
}
VexoStatus vexoCallFunction(VexoModule const* module, char const* function,
                            VexoValue const* const* operands, size_t count, VexoValue** out) {
    return guarded([&] {
        Room room(out);
        Value result;
        auto const status = callFunction(of(module), function, copiesOf(operands, count), &result);
        return status == AttributeStatus::done
                   ? room.give(std::move(result))
                   : refused(status, of(module).name(), function, AttributeOperation::call);
    });
}

VexoStatus vexoLookUp(VexoValue* self, char const* attribute, VexoValue const* key,
                      VexoValue** out) {
    return request(self, attribute, AttributeOperation::lookUp, std::span(&of(key), 1), into(out));
}
VexoStatus vexoPut(VexoValue* self, char const* attribute, VexoValue const* key,
                   VexoValue const* mapped) {
    return guarded([&] {
        VexoValue const* const operands[] = {key, mapped};
        return request(self, attribute, AttributeOperation::put, copiesOf(operands, 2),
                       [](Value const&) { return VEXO_DONE; });
    });
}
VexoStatus vexoErase(VexoValue* self, char const* attribute, VexoValue const* key, int* out) {
    return request(self, attribute, AttributeOperation::erase, std::span(&of(key), 1), into(out));
}
VexoStatus vexoContains(VexoValue* self, char const* attribute, VexoValue const* key, int* out) {
    return request(self, attribute, AttributeOperation::contains, std::span(&of(key), 1),
                   into(out));
}
VexoStatus vexoCount(VexoValue* self, char const* attribute, uint64_t* out) {
    return request(self, attribute, AttributeOperation::count, {}, into(out));
}
VexoStatus vexoCapacity(VexoValue* self, char const* attribute, uint64_t* out) {
    return request(self, attribute, AttributeOperation::capacity, {}, into(out));
}
VexoStatus vexoKeyAt(VexoValue* self, char const* attribute, uint64_t index, VexoValue** out) {
    return guarded([&] {
        Value const number = box(U64{index});
        return request(self, attribute, AttributeOperation::keyAt, std::span(&number, 1),
                       into(out));
    });
}

uint64_t vexoLiveAllocations(void) {
    return liveAllocations();
}
uint64_t vexoLiveAllocationsOf(char const* typeName) {
    try {
        return allocationCounts(typeName).live();
    } catch (...) {
        return 0;
    }
}
void vexoThreadSafePtrIs(int on) {
    threadSafePtrIs(on != 0);
}
VexoStatus vexoTraceLevelsIs(char const* settings) {
    return guarded([&] {
        traceLevelsIs(settings);
        return VEXO_DONE;
    });
}
