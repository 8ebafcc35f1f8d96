#pragma once

#include <Vexo/Strep.h>

#include <tuple>
#include <type_traits>

/*
 * Value records described once, by the list of their fields. A record class R has
 *
 *     static FwkType const fwkType_;
 *     static constexpr auto fields() {
 *         return std::tuple{field("node", &R::node_, Served::no), ...};
 *     }
 *
 * and text form, parser, equality and truth follow from that list:
 *
 *   text      only fields that are not plain pointers; one such field: that field's own text; more:
 *             Value('Type', ** {'name': text, 'name': text})
 *   parser    every field, pointers included, in that frame; a record of one field: its text alone
 *   equality  field by field in order, stopping at the first difference; pointers by address
 *   truth     true when any field is set (not null, not false, not 0)
 */

namespace Vexo {

/** What a field offers by name: nothing, reading, reading and writing. */
enum class Served : U8 { no, readOnly, readWrite };

/** A field of a record class: one element of its `fields()`. */
template <class R, class M>
struct Field {
    using Member = M;  // the field's type
    char const* name;  // in text forms and requests
    M R::*member;      // where it is
    Served served;     // what it offers by name
};

/** Makes an element of `fields()`. */
template <class R, class M>
constexpr Field<R, M> field(char const* name, M R::*member, Served served) noexcept {
    return {name, member, served};
}

/** A class that lists its fields. */
template <class R>
concept Record = requires {
    R::fields();
    R::fwkType_.name();
};

/** Declared before its use for fields that are records themselves. */
template <Record R>
String valueToStrep(R const& record);

namespace Detail {

/** "Value('Type', ** {", what a framed record's text begins with. */
LPMTRIE_API String recordHead(FwkType const& type);
/** "'name': ", with ", " in front for a field that is not the first. */
LPMTRIE_API String fieldHead(char const* name, bool first);

template <class F>
constexpr bool printed = !std::is_pointer_v<typename F::Member>;

template <Record R>
constexpr std::size_t printedFields = std::apply(
    [](auto const&... fields) {
        return (std::size_t{0} + ... +
                (printed<std::remove_cvref_t<decltype(fields)>> ? std::size_t{1} : 0));
    },
    R::fields());

template <Record R, class F>
void appendField(String& text, bool framed, R const& record, F const& field) {
    if constexpr (printed<F>) {
        if (framed) {
            text += fieldHead(field.name, text.back() == '{');
        }
        text += valueToStrep(record.*field.member);
    }
}

template <Record R, class F>
void readField(CharRange& range, bool framed, bool first, R& record, F const& field) {
    if (framed) {
        range.needString(fieldHead(field.name, first));
    }
    record.*field.member = deserializeAttr<typename F::Member>(range, field.name);
}

}  // namespace Detail

/** The text form, as the head of this file tells. */
template <Record R>
String recordToStrep(R const& record) {
    constexpr bool framed = Detail::printedFields<R> != 1;
    String text = framed ? Detail::recordHead(R::fwkType_) : String();
    std::apply(
        [&](auto const&... fields) { (Detail::appendField(text, framed, record, fields), ...); },
        R::fields());
    if (framed) {
        text += "})";
    }
    return text;
}

/** Fills `record` from the text; on an error what was filled so far is the caller's to discard. */
template <Record R>
void readRecord(CharRange& range, R& record) {
    constexpr bool framed = std::tuple_size_v<decltype(R::fields())> != 1;
    if (framed) {
        range.needString(Detail::recordHead(R::fwkType_));
    }
    bool first = true;
    std::apply(
        [&](auto const&... fields) {
            (Detail::readField(range, framed, std::exchange(first, false), record, fields), ...);
        },
        R::fields());
    if (framed) {
        range.needString("})");
    }
}

/** Field by field. */
template <Record R>
bool recordsEqual(R const& a, R const& b) noexcept {
    return std::apply(
        [&](auto const&... fields) { return ((a.*fields.member == b.*fields.member) && ...); },
        R::fields());
}

/** Whether any field is not null, false or 0. */
template <Record R>
bool recordIsSet(R const& record) noexcept {
    return std::apply(
        [&](auto const&... fields) { return (static_cast<bool>(record.*fields.member) || ...); },
        R::fields());
}

template <Record R>
String valueToStrep(R const& record) {
    return recordToStrep(record);
}

}  // namespace Vexo
