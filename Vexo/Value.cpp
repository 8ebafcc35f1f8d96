#include <Vexo/Attribute.h>
#include <Vexo/Hash.h>
#include <Vexo/Value.h>

#include <limits>

namespace Vexo {

namespace {

constinit ValueOps const boolOps = [] {
    ValueOps ops = valueOps<bool>();
    ops.hash = [](void const* data) { return hashOf(Detail::valueAt<bool>(data) ? 1 : 0); };
    return ops;
}();

template <class T>
U32 hashOfNumber(void const* data) {
    U64 const number = Detail::valueAt<T>(data);
    return hashOf(static_cast<U32>(number ^ (number >> 32)));
}

constinit ValueOps const u32Ops = [] {
    ValueOps ops = valueOps<U32>();
    ops.hash = hashOfNumber<U32>;
    return ops;
}();

constinit ValueOps const u64Ops = [] {
    ValueOps ops = valueOps<U64>();
    ops.hash = hashOfNumber<U64>;
    return ops;
}();

constinit ValueOps const stringOps = [] {
    ValueOps ops = valueOps<String>();
    ops.truth = [](void const* data) { return !Detail::valueAt<String>(data).empty(); };
    ops.hash = [](void const* data) {
        Hash hash;
        hash.hashMix(Detail::valueAt<String>(data).data(), Detail::valueAt<String>(data).size());
        return hash.result();
    };
    return ops;
}();

constinit TypeDescription const boolDescription{.value = &boolOps};
constinit TypeDescription const u32Description{.value = &u32Ops};
constinit TypeDescription const u64Description{.value = &u64Ops};
constinit TypeDescription const stringDescription{.value = &stringOps};

}  // namespace

constinit FwkType const boolType("bool", vexoModule, 2, boolDescription);
constinit FwkType const u32Type("U32", vexoModule, 3, u32Description);
constinit FwkType const u64Type("U64", vexoModule, 4, u64Description);
constinit FwkType const stringType("String", vexoModule, 5, stringDescription);

Value Value::adopt(FwkType const& type, void* data) noexcept {
    Value value;
    value.type_ = &type;
    value.data_ = data;
    return value;
}

Value Value::reference(FwkType const& type, Ptr<PtrInterface> object) noexcept {
    Value value;
    value.type_ = &type;
    value.object_ = std::move(object);
    return value;
}

Value::Value(Value const& other)
    : type_(other.type_),
      data_(other.data_ != nullptr ? other.type_->description().value->copy(other.data_) : nullptr),
      object_(other.object_) {}

Value::~Value() {
    if (data_ != nullptr) {
        type_->description().value->destroy(data_);
    }
}

FwkType const* Value::type() const noexcept {
    return object_ ? object_->fwkType() : type_;
}

String Value::typeName() const {
    if (isNone()) {
        return "nothing";
    }
    return String(isReference() ? "reference to " : "") + type()->name();
}

namespace Detail {

Value boxNumber(U64 number) {
    return number <= std::numeric_limits<U32>::max()
               ? Value::adopt(u32Type, new U32(static_cast<U32>(number)))
               : Value::adopt(u64Type, new U64(number));
}

Value NumberRoom::box(U64 number) noexcept {
    if (wide_ != nullptr && number > std::numeric_limits<U32>::max()) {
        *wide_ = number;
        return Value::adopt(u64Type, wide_.release());
    }
    *narrow_ = static_cast<U32>(number);
    return Value::adopt(u32Type, narrow_.release());
}

U64 unboxNumber(Value const& slot, String const& place, U64 largest) {
    U64 number = 0;
    if (slot.data() != nullptr && slot.type() == &u32Type) {
        number = *static_cast<U32 const*>(slot.data());
    } else if (slot.data() != nullptr && slot.type() == &u64Type) {
        number = *static_cast<U64 const*>(slot.data());
    } else {
        throw ConversionException(place, largest > ~U32{0} ? "U64" : "U32", slot.typeName());
    }
    if (number > largest) {
        throw RangeException(place + ": " + std::to_string(number) + " is over " +
                             std::to_string(largest));
    }
    return number;
}

}  // namespace Detail

bool Boxing<bool>::unbox(Value const& slot, String const& place) {
    if (slot.data() == nullptr || slot.type() != &boolType) {
        throw ConversionException(place, "bool", slot.typeName());
    }
    return *static_cast<bool const*>(slot.data());
}

String Boxing<String>::unbox(Value const& slot, String const& place) {
    if (slot.data() == nullptr || slot.type() != &stringType) {
        throw ConversionException(place, "String", slot.typeName());
    }
    return *static_cast<String const*>(slot.data());
}

}  // namespace Vexo
