#pragma once

#include <Vexo/Record.h>
#include <Vexo/Value.h>

#include <algorithm>
#include <tuple>

/*
 * Rows of type declarations, each made from a pointer to what it reaches:
 *
 *     constexpr std::array attributes{
 *         valueAttribute<&Trie::vrfId>("vrfId"),
 *         valueAttribute<&Trie::dumpLimit, &Trie::dumpLimitIs>("dumpLimit"),
 *         functionAttribute<&Trie::remove>("remove", "prefix"),
 *         unservedAttribute("root"),
 *     };
 *
 * A member function that is virtual is called through the virtual table. Operand and result types
 * follow from the signature. The rows of a record follow from its list of fields.
 */

namespace Vexo {

namespace Detail {

template <class R, class T, class... As>
struct SignatureOf {
    using Result = R;
    using Class = T;  // void for a function of no class
    using Arguments = std::tuple<std::remove_cvref_t<As>...>;
    static constexpr std::size_t count_ = sizeof...(As);
};

template <class F>
struct Signature;
template <class R, class T, class... As>
struct Signature<R (T::*)(As...)> : SignatureOf<R, T, As...> {};
template <class R, class T, class... As>
struct Signature<R (T::*)(As...) const> : SignatureOf<R, T, As...> {};
template <class R, class T, class... As>
struct Signature<R (T::*)(As...) noexcept> : SignatureOf<R, T, As...> {};
template <class R, class T, class... As>
struct Signature<R (T::*)(As...) const noexcept> : SignatureOf<R, T, As...> {};
template <class R, class... As>
struct Signature<R (*)(As...)> : SignatureOf<R, void, As...> {};
template <class R, class... As>
struct Signature<R (*)(As...) noexcept> : SignatureOf<R, void, As...> {};

template <class R>
constexpr TypeRef typeRefOf() noexcept {
    if constexpr (std::is_void_v<R>) {
        return {};
    } else {
        return Boxing<std::remove_cvref_t<R>>::type_;
    }
}

template <class T>
T& selfOf(AttributeRequest const& request) {
    if constexpr (std::is_base_of_v<PtrInterface, T>) {
        return dynamic_cast<T&>(*static_cast<PtrInterface*>(request.self));
    } else {
        return *static_cast<T*>(request.self);
    }
}

/** Throws ConversionException when the request has another number of operands. */
LPMTRIE_API void needOperands(AttributeRequest const& request, std::size_t count);
/** "attribute 'a' of T, parameter 'p'" */
LPMTRIE_API String parameterPlace(AttributeRequest const& request, std::size_t index);

/** Unboxes the operands, calls, and boxes what comes back. The copies hold references meanwhile. */
template <auto function, std::size_t... I>
void callWithOperands(AttributeRequest& request, std::index_sequence<I...>) {
    using S = Signature<decltype(function)>;
    needOperands(request, sizeof...(I));
    // Braces: operands are unboxed in their order, so the first wrong one is named.
    typename S::Arguments operands{unbox<std::tuple_element_t<I, typename S::Arguments>>(
        request.operands[I], parameterPlace(request, I))...};
    auto const call = [&]() -> decltype(auto) {
        if constexpr (std::is_void_v<typename S::Class>) {
            return function(std::get<I>(operands)...);
        } else {
            return (selfOf<typename S::Class>(request).*function)(std::get<I>(operands)...);
        }
    };
    if constexpr (std::is_void_v<typename S::Result>) {
        call();
        *request.result = Value();
    } else {
        *request.result = boxResult<std::remove_cvref_t<typename S::Result>>(call);
    }
}

template <auto function>
AttributeStatus serveFunction(AttributeRequest& request) {
    if (request.operation != AttributeOperation::call) {
        return AttributeStatus::operationNotAllowed;
    }
    constexpr std::size_t count = Signature<decltype(function)>::count_;
    callWithOperands<function>(request, std::make_index_sequence<count>());
    return AttributeStatus::done;
}

/** `setter` is null for what is only read. Getter and setter may be functions of no class. */
template <auto getter, auto setter>
AttributeStatus serveValue(AttributeRequest& request) {
    constexpr bool writable = !std::is_same_v<decltype(setter), std::nullptr_t>;
    if (request.operation == AttributeOperation::get) {
        callWithOperands<getter>(request, std::index_sequence<>());
        return AttributeStatus::done;
    }
    if constexpr (writable) {
        if (request.operation == AttributeOperation::set) {
            callWithOperands<setter>(request, std::index_sequence<0>());
            return AttributeStatus::done;
        }
    }
    return AttributeStatus::operationNotAllowed;
}

/** Field number `index` of a record. */
template <Record R, std::size_t index>
AttributeStatus serveField(AttributeRequest& request) {
    constexpr auto field = std::get<index>(R::fields());
    using Member = typename decltype(field)::Member;
    Member& member = selfOf<R>(request).*field.member;
    if (request.operation == AttributeOperation::get) {
        needOperands(request, 0);
        *request.result = box<Member>(member);
        return AttributeStatus::done;
    }
    if (request.operation != AttributeOperation::set || field.served != Served::readWrite) {
        return AttributeStatus::operationNotAllowed;
    }
    needOperands(request, 1);
    auto value = unbox<Member>(request.operands[0], request.place);
    if (member != value) {
        member = std::move(value);
    }
    return AttributeStatus::done;
}

template <Record R, std::size_t index>
constexpr Attribute fieldAttribute() {
    constexpr auto field = std::get<index>(R::fields());
    Attribute row;
    row.name = field.name;
    if constexpr (field.served != Served::no) {
        row.readable = true;
        row.writable = field.served == Served::readWrite;
        row.type = typeRefOf<typename decltype(field)::Member>();
        row.serve = &serveField<R, index>;
    }
    return row;
}

}  // namespace Detail

/** A value that is read through `getter` and, if there is one, written through `setter`. */
template <auto getter, auto setter = nullptr>
constexpr Attribute valueAttribute(char const* name) {
    Attribute row;
    row.name = name;
    row.readable = true;
    row.writable = !std::is_same_v<decltype(setter), std::nullptr_t>;
    row.type = Detail::typeRefOf<typename Detail::Signature<decltype(getter)>::Result>();
    row.serve = &Detail::serveValue<getter, setter>;
    return row;
}

/** A function and the names of its parameters. */
template <auto function, class... Names>
constexpr Attribute functionAttribute(char const* name, Names... names) {
    using S = Detail::Signature<decltype(function)>;
    static_assert(sizeof...(Names) == S::count_, "a name for each parameter");
    Attribute row;
    row.name = name;
    row.kind = AttributeKind::function;
    row.type = Detail::typeRefOf<typename S::Result>();
    auto const add = [&](char const* parameter, TypeRef type) {
        row.parameters[row.parameterCount++] = {parameter, type};
    };
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (add(names, Detail::typeRefOf<std::tuple_element_t<I, typename S::Arguments>>()), ...);
    }
    (std::make_index_sequence<S::count_>());
    row.serve = &Detail::serveFunction<function>;
    return row;
}

/** Makes a value type's values from constructor arguments. */
template <class T, class... As>
T construct(As... arguments) {
    return T(std::move(arguments)...);
}

/** Declared for the order's sake, and not to be reached. */
constexpr Attribute unservedAttribute(char const* name) {
    Attribute row;
    row.name = name;
    return row;
}

/** One row a field, in the record's order. */
template <Record R>
constexpr auto recordAttributes() {
    return []<std::size_t... I>(std::index_sequence<I...>) {
        return std::array{Detail::fieldAttribute<R, I>()...};
    }
    (std::make_index_sequence<std::tuple_size_v<decltype(R::fields())>>());
}

/** Rows, and more rows behind them. */
template <std::size_t n, std::size_t m>
constexpr std::array<Attribute, n + m> joinRows(std::array<Attribute, n> const& first,
                                                std::array<Attribute, m> const& more) {
    std::array<Attribute, n + m> rows{};
    std::copy(first.begin(), first.end(), rows.begin());
    std::copy(more.begin(), more.end(), rows.begin() + n);
    return rows;
}

/**
 * A collection kept in a hash map. `C` names the object (`Object`), the entries' `Key` and `Mapped`
 * types, and reaches `map(object)`, `lookUp`, `put` and `erase` of one key.
 */
template <class C>
AttributeStatus serveCollection(AttributeRequest& request) {
    using Key = typename C::Key;
    auto& object = Detail::selfOf<typename C::Object>(request);
    auto const key = [&] { return unbox<Key>(request.operands[0], request.place + ", key"); };
    auto const answer = [&](auto const& value) {
        *request.result = box(value);
        return AttributeStatus::done;
    };
    switch (request.operation) {
    case AttributeOperation::lookUp:
        Detail::needOperands(request, 1);
        return answer(C::lookUp(object, key()));
    case AttributeOperation::contains:
        Detail::needOperands(request, 1);
        return answer(C::map(object).find(key()) != nullptr);
    case AttributeOperation::put:
        Detail::needOperands(request, 2);
        C::put(object, key(),
               unbox<typename C::Mapped>(request.operands[1], request.place + ", value"));
        return AttributeStatus::done;
    case AttributeOperation::erase:
        Detail::needOperands(request, 1);
        *request.result = boxResult<bool>([&] { return C::erase(object, key()); });
        return AttributeStatus::done;
    case AttributeOperation::count:
        Detail::needOperands(request, 0);
        return answer(U64{C::map(object).size()});
    case AttributeOperation::capacity:
        Detail::needOperands(request, 0);
        return answer(U64{C::map(object).capacity()});
    case AttributeOperation::keyAt: {
        Detail::needOperands(request, 1);
        auto const index = unbox<U64>(request.operands[0], request.place + ", index");
        if (index >= C::map(object).size()) {
            throw RangeException(request.place + ": no entry number " + std::to_string(index));
        }
        return answer((C::map(object).begin() + static_cast<std::ptrdiff_t>(index))->key());
    }
    default:
        return AttributeStatus::operationNotAllowed;
    }
}

/** The row of such a collection. */
template <class C>
constexpr Attribute collectionAttribute(char const* name) {
    Attribute row;
    row.name = name;
    row.kind = AttributeKind::collection;
    row.type = Detail::typeRefOf<typename C::Mapped>();
    row.keyType = Detail::typeRefOf<typename C::Key>();
    row.serve = &serveCollection<C>;
    return row;
}

namespace Detail {

template <class T>
concept HasTruth = std::is_constructible_v<bool, T const&>;
template <class T>
concept HasLess = requires(T const& a, T const& b) {
    { a < b } -> std::convertible_to<bool>;
};
template <class T>
concept HasHash = requires(T const& value) {
    { value.hash() } -> std::same_as<U32>;
};

template <class T>
T const& valueAt(void const* data) noexcept {
    return *static_cast<T const*>(data);
}

}  // namespace Detail

/** The generic operations of a value type, each present when the C++ type has what it needs. */
template <class T>
constexpr ValueOps valueOps() {
    ValueOps ops;
    using Detail::valueAt;
    ops.makeDefault = []() -> void* { return new T(); };
    ops.copy = [](void const* data) -> void* { return new T(valueAt<T>(data)); };
    ops.destroy = [](void* data) noexcept { delete static_cast<T*>(data); };
    ops.text = [](void const* data) { return valueToStrep(valueAt<T>(data)); };
    ops.parse = [](CharRange& range) -> void* {
        if constexpr (std::constructible_from<T, CharRange&>) {
            return new T(range);
        } else {
            T value{};
            sequenceToValue(range, &value);
            return new T(std::move(value));
        }
    };
    ops.equal = [](void const* a, void const* b) { return valueAt<T>(a) == valueAt<T>(b); };
    if constexpr (Detail::HasHash<T>) {
        ops.hash = [](void const* data) { return valueAt<T>(data).hash(); };
    }
    if constexpr (Detail::HasTruth<T>) {
        ops.truth = [](void const* data) { return static_cast<bool>(valueAt<T>(data)); };
    }
    if constexpr (Detail::HasLess<T>) {
        ops.less = [](void const* a, void const* b) { return valueAt<T>(a) < valueAt<T>(b); };
    }
    return ops;
}

}  // namespace Vexo
