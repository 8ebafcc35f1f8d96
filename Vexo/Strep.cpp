#include <Vexo/FwkType.h>
#include <Vexo/ObjectNames.h>
#include <Vexo/Strep.h>

#include <cinttypes>
#include <cstdint>

namespace Vexo {

namespace {

int hexDigit(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/** Digits of `base` up to `largest`; at least one. */
U64 readDigits(CharRange& range, U32 base, U64 largest, char const* wanted) {
    CharRange const start = range;
    U64 value = 0;
    std::size_t digits = 0;
    for (int digit = hexDigit(range.front()); digit >= 0 && static_cast<U32>(digit) < base;
         digit = hexDigit(range.front())) {
        U64 const next = static_cast<U64>(digit);
        if (next > largest || value > (largest - next) / base) {
            start.fail(formatString("%s of at most %" PRIu64, wanted, largest));
        }
        value = value * base + next;
        range.advance(1);
        ++digits;
    }
    if (digits == 0) {
        range.fail(wanted);
    }
    return value;
}

U64 readAddress(CharRange& range, char const* wanted) {
    CharRange const start = range;
    U64 const address = readDigits(range, 16, UINTPTR_MAX, wanted);
    if (range.offset() - start.offset() > 2 * sizeof(std::uintptr_t)) {
        start.fail(formatString("%s, %zu of them at most", wanted, 2 * sizeof(std::uintptr_t)));
    }
    return address;
}

bool isPrinted(char c) noexcept {
    return c >= ' ' && c <= '~';
}

char readEscape(CharRange& range) {
    for (auto const& [name, character] : {std::pair{'\\', '\\'}, {'\'', '\''}}) {
        if (range.front() == name) {
            range.advance(1);
            return character;
        }
    }
    CharRange const start = range;
    range.needString("x");
    int const high = hexDigit(range.front());
    range.advance(high >= 0 ? 1 : 0);
    int const low = hexDigit(range.front());
    if (high < 0 || low < 0) {
        range.fail("two hexadecimal digits");
    }
    range.advance(1);
    auto const character = static_cast<char>(high * 16 + low);
    if (isPrinted(character)) {
        start.fail("the code of a byte that does not print");
    }
    return character;
}

}  // namespace

String valueToStrep(unsigned long long value) {
    return std::to_string(value);
}

String valueToStrep(String const& value) {
    String text = "'";
    for (char const c : value) {
        if (c == '\'' || c == '\\') {
            text += '\\';
            text += c;
        } else if (isPrinted(c)) {
            text += c;
        } else {
            text += formatString("\\x%02x", static_cast<unsigned char>(c));
        }
    }
    return text += '\'';
}

String valueToStrep(void const* pointer) {
    return pointer == nullptr
               ? String("None")
               : formatString("0x%" PRIxPTR, reinterpret_cast<std::uintptr_t>(pointer));
}

String objectToStrep(PtrInterface const* object) {
    return ObjectNames::name(object);
}

void sequenceToValue(CharRange& range, bool* value) {
    if (range.consume("True")) {
        *value = true;
    } else if (range.consume("False")) {
        *value = false;
    } else {
        range.fail("True or False");
    }
}

void sequenceToValue(CharRange& range, String* value) {
    range.needString("'");
    String text;
    while (!range.consume("'")) {
        if (range.empty()) {
            range.fail("a closing quote");
        }
        char const c = range.front();
        if (!isPrinted(c)) {
            range.fail("a byte that prints, or its code");
        }
        range.advance(1);
        text += c == '\\' ? readEscape(range) : c;
    }
    *value = std::move(text);
}

void sequenceToValue(CharRange& range, void** value) {
    if (range.consume("None")) {
        *value = nullptr;
        return;
    }
    if (!range.consume("0x")) {
        range.fail("None or a pointer");
    }
    U64 const number = readAddress(range, "a pointer's hexadecimal digits");
    *value = reinterpret_cast<void*>(static_cast<std::uintptr_t>(number));
}

U64 sequenceToNumber(CharRange& range, U64 largest) {
    CharRange const start = range;
    U64 const number = readDigits(range, 10, largest, "a decimal number");
    if (start.front() == '0' && range.offset() - start.offset() > 1) {
        start.fail("a decimal number without leading zeros");
    }
    return number;
}

Ptr<PtrInterface> sequenceToValueOfPtr(CharRange& range) {
    if (range.consume("None")) {
        return nullptr;
    }
    CharRange const start = range;
    if (!range.consume("Object(")) {
        range.fail("None or an object");
    }
    String typeName;
    sequenceToValue(range, &typeName);
    range.needString(", 0x");
    U64 const address = readAddress(range, "an object's hexadecimal digits");
    range.needString(")");
    Ptr<PtrInterface> object = ObjectNames::find(typeName, address);
    if (!object) {
        start.fail("an object that lives, of the type it is said to be");
    }
    return object;
}

}  // namespace Vexo
