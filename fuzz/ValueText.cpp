#include <fuzz/LibraryTypes.h>

#include <Vexo/AttributeAccess.h>
#include <Vexo/RangeException.h>
#include <Vexo/Value.h>

#include <optional>

/*
 * A text, offered to each registered type as the text form of a value: all value types of the
 * library, and the names of objects, of which none is alive. What is taken for a value has a text
 * of its own; where that text reads back, it is an equal value with the same text.
 */

namespace {

using namespace Vexo;
using Fuzz::require;

std::optional<Value> read(FwkType const& type, String const& text) {
    try {
        return valueFromText(type, text);
    } catch (RangeException const& error) {
        require(error.what()[0] != '\0', "an error tells what is wrong");
    } catch (ConversionException const&) {
        require(type.description().value == nullptr || type.description().value->parse == nullptr,
                "a type with a text form takes texts");
    }
    return std::nullopt;
}

/** Empty where the type has none. */
String textOf(Value const& value) {
    try {
        return valueText(value);
    } catch (ConversionException const&) {
        return "";
    }
}

bool areEqual(Value const& a, Value const& b) {
    Value result;
    auto const status =
        valueOperation(a, AttributeOperation::equal, std::span<Value const>(&b, 1), &result);
    return status != AttributeStatus::done || unbox<bool>(result, "equality");
}

void tryAs(FwkType const& type, String const& text) {
    std::optional<Value> const value = read(type, text);
    if (!value) {
        return;
    }
    require(type.description().value != nullptr || !value->object(),
            "no object is alive to be named");
    require(areEqual(*value, *value), "a value equals itself");
    String const own = textOf(*value);
    // Deliberate: the records of results leave their pointers out, and do not read back.
    if (std::optional<Value> const again = read(type, own)) {
        require(areEqual(*value, *again), "what reads back is an equal value");
        require(textOf(*again) == own, "an equal value has the same text");
    }
    bool const isExact = &type == &boolType || &type == &u32Type || &type == &u64Type ||
                         &type == &stringType || &type == &LpmTrie::PendingState::fwkType_ ||
                         &type == &LpmTrie::PartitionIdValue::fwkType_;
    require(!isExact || own == text, "readers take exactly what writers produce");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Fuzz::requireLibraryTypes();
    String const text(reinterpret_cast<char const*>(data), size);
    for (FwkModule const* const module : registeredModules()) {
        for (FwkType const* const type : registeredTypes(*module)) {
            tryAs(*type, text);
        }
    }
    return 0;
}
