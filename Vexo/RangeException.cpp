#include <Vexo/FwkType.h>
#include <Vexo/RangeException.h>

namespace Vexo {

void rethrowFromDeserializeAttr(RangeException const& error, char const* fieldName) {
    String path = fieldName;
    if (!error.attribute().empty()) {
        path += '.';
        path += error.attribute();
    }
    throw RangeException(String("attribute '") + fieldName + "': " + error.what(), std::move(path));
}

void throwDenseEnumBoolSetRangeException(FwkType const& type, U32 value) {
    throw RangeException(
        formatString("%u has bits that no flag of %s stands for", value, type.name()));
}

void throwUnhashableException(FwkType const& type) {
    throw UnhashableException(String("a value of type ") + type.name() + " has no hash");
}

}  // namespace Vexo
