#include <Vexo/Attribute.h>
#include <Vexo/AttributeAccess.h>
#include <Vexo/Hash.h>

#include <algorithm>
#include <string_view>

namespace Vexo {

constinit TypeDescription const emptyDescription{};

bool FwkType::isA(FwkType const& other) const noexcept {
    for (FwkType const* type = this; type != nullptr; type = type->description().base) {
        if (type == &other) {
            return true;
        }
    }
    return false;
}

namespace {

/** From the outermost base type down to the type itself. */
std::vector<FwkType const*> lineageOf(FwkType const& type) {
    std::vector<FwkType const*> lineage;
    for (FwkType const* at = &type; at != nullptr; at = at->description().base) {
        lineage.push_back(at);
    }
    std::ranges::reverse(lineage);
    return lineage;
}

/** Numbers 0 and 1 are the framework's: no attribute, and the value as a whole. */
constexpr U32 firstNumber = 2;

void answer(Value* result, bool value) {
    if (result != nullptr) {
        *result = box(value);
    }
}

ValueOps const& opsOf(Value const& value) {
    return *value.type()->description().value;
}

/** The row that a name reaches, served or not: the most derived type's; null when there is none. */
Attribute const* rowOf(FwkType const& type, std::string_view name) {
    for (FwkType const* at = &type; at != nullptr; at = at->description().base) {
        for (Attribute const& row : at->description().attributes) {
            if (name == row.name) {
                return &row;
            }
        }
    }
    return nullptr;
}

[[noreturn]] void throwNoText(FwkType const& type) {
    throw ConversionException(String(type.name()) + " has no text form");
}

AttributeStatus referenceOperation(Value const& self, AttributeOperation operation,
                                   std::span<Value const> operands, Value* result) {
    if (operation == AttributeOperation::truth) {
        answer(result, static_cast<bool>(self.object()));
        return AttributeStatus::done;
    }
    if (operation == AttributeOperation::equal && operands.size() == 1) {
        answer(result, !operands[0].data() && self.object() == operands[0].object());
        return AttributeStatus::done;
    }
    return AttributeStatus::operationNotAllowed;
}

}  // namespace

Attribute const* findAttribute(FwkType const& type, String const& name) {
    Attribute const* const row = rowOf(type, name);
    return row != nullptr && row->serve != nullptr ? row : nullptr;
}

U32 attributeNumber(FwkType const& type, String const& name) {
    Attribute const* const wanted = rowOf(type, name);
    U32 number = firstNumber;
    for (FwkType const* at : lineageOf(type)) {
        for (Attribute const& row : at->description().attributes) {
            if (&row == wanted) {
                return number;
            }
            ++number;
        }
    }
    return 0;
}

std::vector<Attribute const*> servedAttributes(FwkType const& type) {
    std::vector<Attribute const*> served;
    for (FwkType const* at : lineageOf(type)) {
        for (Attribute const& row : at->description().attributes) {
            // Not one that a derived type declares anew.
            if (row.serve != nullptr && rowOf(type, row.name) == &row) {
                served.push_back(&row);
            }
        }
    }
    return served;
}

namespace Detail {

void needOperands(AttributeRequest const& request, std::size_t count) {
    if (request.operands.size() != count) {
        throw ConversionException(request.place,
                                  formatString("%zu operand%s", count, count == 1 ? "" : "s"),
                                  formatString("%zu", request.operands.size()));
    }
}

String parameterPlace(AttributeRequest const& request, std::size_t index) {
    char const* const name = request.attribute->parameters.at(index).name;
    return name == nullptr ? request.place : request.place + ", parameter '" + name + "'";
}

}  // namespace Detail

AttributeStatus attributeOperation(Value& self, String const& attribute,
                                   AttributeOperation operation, std::span<Value const> operands,
                                   Value* result) {
    bool const nothing = self.isNone() || (self.isReference() && !self.object());
    Attribute const* const row = nothing ? nullptr : findAttribute(*self.type(), attribute);
    if (row == nullptr) {
        return AttributeStatus::noSuchAttribute;
    }
    void* const target = self.isReference() ? self.object().get() : self.data();
    Value unused;
    AttributeRequest request{target,   operation,
                             operands, result != nullptr ? result : &unused,
                             row,      "attribute '" + attribute + "' of " + self.type()->name()};
    return row->serve(request);
}

AttributeStatus valueOperation(Value const& self, AttributeOperation operation,
                               std::span<Value const> operands, Value* result) {
    if (self.data() == nullptr) {
        return referenceOperation(self, operation, operands, result);
    }
    ValueOps const& ops = opsOf(self);
    if (operation == AttributeOperation::truth && ops.truth != nullptr) {
        answer(result, ops.truth(self.data()));
        return AttributeStatus::done;
    }
    auto const compare = operation == AttributeOperation::equal  ? ops.equal
                         : operation == AttributeOperation::less ? ops.less
                                                                 : nullptr;
    if (compare == nullptr) {
        return AttributeStatus::operationNotAllowed;
    }
    auto const place = [&] { return String("comparison of ") + self.type()->name(); };
    if (operands.size() != 1) {
        throw ConversionException(place(), "1 operand", std::to_string(operands.size()));
    }
    if (operands[0].data() == nullptr || operands[0].type() != self.type()) {
        throw ConversionException(place(), self.type()->name(), operands[0].typeName());
    }
    answer(result, compare(self.data(), operands[0].data()));
    return AttributeStatus::done;
}

String valueText(Value const& value) {
    if (value.data() == nullptr) {
        return objectToStrep(value.object().get());
    }
    if (opsOf(value).text == nullptr) {
        throwNoText(*value.type());
    }
    return opsOf(value).text(value.data());
}

Value valueFromText(FwkType const& type, String const& text) {
    ValueOps const* const ops = type.description().value;
    if (ops != nullptr && ops->parse == nullptr) {
        throwNoText(type);
    }
    CharRange range(text);
    Value value = ops != nullptr ? Value::adopt(type, ops->parse(range))
                                 : Value::reference(type, sequenceToValueOfPtr(range));
    if (value.object() && !value.type()->isA(type)) {
        CharRange::cannotConvert(range, type);
    }
    range.checkAllDataConsumed();
    return value;
}

U32 valueHash(Value const& value) {
    if (value.data() == nullptr) {
        auto const address = reinterpret_cast<std::uintptr_t>(value.object().get());
        Hash hash;
        hash.hashMix(&address, sizeof(address));
        return hash.result();
    }
    if (opsOf(value).hash == nullptr) {
        throwUnhashableException(*value.type());
    }
    return opsOf(value).hash(value.data());
}

Value createByType(FwkType const& type, std::span<Value const> operands) {
    TypeDescription const& description = type.description();
    bool const hasDefault =
        description.value != nullptr && description.value->makeDefault != nullptr;
    if (operands.empty() && hasDefault) {
        return Value::adopt(type, description.value->makeDefault());
    }
    if (description.constructor == nullptr) {
        throw ConversionException(String(type.name()) + " cannot be made by name" +
                                  (operands.empty() ? "" : " from operands"));
    }
    Value made;
    AttributeRequest request{
        nullptr, AttributeOperation::call, operands,
        &made,   description.constructor,  String("constructor of ") + type.name()};
    description.constructor->serve(request);
    return made;
}

}  // namespace Vexo
