#pragma once

#include <Vexo/AttributeAccess.h>

#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <vector>

/* Requests by name as tests make them: those that must be served, and the texts of those that end
 * in an exception. */

namespace TestSupport {

using Operands = std::vector<Vexo::Value>;

struct NamedOperation {
    Vexo::AttributeOperation operation;
    char const* name;
};
inline std::ostream& operator<<(std::ostream& stream, NamedOperation const& named) {
    return stream << named.name;
}
inline constexpr std::array<NamedOperation, 13> allOperations{{
    {Vexo::AttributeOperation::get, "get"},
    {Vexo::AttributeOperation::set, "set"},
    {Vexo::AttributeOperation::call, "call"},
    {Vexo::AttributeOperation::truth, "truth"},
    {Vexo::AttributeOperation::equal, "equal"},
    {Vexo::AttributeOperation::less, "less"},
    {Vexo::AttributeOperation::lookUp, "look up"},
    {Vexo::AttributeOperation::put, "put"},
    {Vexo::AttributeOperation::erase, "erase"},
    {Vexo::AttributeOperation::count, "count"},
    {Vexo::AttributeOperation::capacity, "capacity"},
    {Vexo::AttributeOperation::contains, "contains"},
    {Vexo::AttributeOperation::keyAt, "key at"},
}};

inline Vexo::AttributeStatus statusOf(Vexo::Value& self, Vexo::String const& attribute,
                                      Vexo::AttributeOperation operation,
                                      Operands const& operands = {}) {
    return Vexo::attributeOperation(self, attribute, operation, operands, nullptr);
}

/** The result of a request that must be served. */
inline Vexo::Value ask(Vexo::Value& self, Vexo::String const& attribute,
                       Vexo::AttributeOperation operation, Operands const& operands = {}) {
    Vexo::Value result;
    EXPECT_EQ(Vexo::attributeOperation(self, attribute, operation, operands, &result),
              Vexo::AttributeStatus::done)
        << attribute;
    return result;
}
inline Vexo::Value get(Vexo::Value& self, Vexo::String const& attribute) {
    return ask(self, attribute, Vexo::AttributeOperation::get);
}
template <class T>
T getAs(Vexo::Value& self, Vexo::String const& attribute) {
    return Vexo::unbox<T>(get(self, attribute), attribute);
}
inline void set(Vexo::Value& self, Vexo::String const& attribute, Vexo::Value const& operand) {
    ask(self, attribute, Vexo::AttributeOperation::set, {operand});
}
inline Vexo::Value call(Vexo::Value& self, Vexo::String const& attribute,
                        Operands const& operands = {}) {
    return ask(self, attribute, Vexo::AttributeOperation::call, operands);
}
template <class T>
T callAs(Vexo::Value& self, Vexo::String const& attribute, Operands const& operands = {}) {
    return Vexo::unbox<T>(call(self, attribute, operands), attribute);
}

/** The answer of an operation on a value as a whole, which must be served. */
inline bool askWhole(Vexo::Value const& self, Vexo::AttributeOperation operation,
                     Operands const& operands = {}) {
    Vexo::Value result;
    EXPECT_EQ(Vexo::valueOperation(self, operation, operands, &result),
              Vexo::AttributeStatus::done);
    return Vexo::unbox<bool>(result, "answer");
}
inline bool isTrue(Vexo::Value const& self) {
    return askWhole(self, Vexo::AttributeOperation::truth);
}
inline bool areEqual(Vexo::Value const& a, Vexo::Value const& b) {
    return askWhole(a, Vexo::AttributeOperation::equal, {b});
}
inline bool isLess(Vexo::Value const& a, Vexo::Value const& b) {
    return askWhole(a, Vexo::AttributeOperation::less, {b});
}

/** The message of the E that `work` must end in. */
template <class E, class Work>
Vexo::String messageOf(Work const& work) {
    try {
        work();
    } catch (E const& error) {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return "";
}

}  // namespace TestSupport
