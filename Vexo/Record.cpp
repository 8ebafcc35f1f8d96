#include <Vexo/FwkType.h>
#include <Vexo/Record.h>

namespace Vexo::Detail {

String recordHead(FwkType const& type) {
    return formatString("Value('%s', ** {", type.name());
}

String fieldHead(char const* name, bool first) {
    return formatString("%s'%s': ", first ? "" : ", ", name);
}

}  // namespace Vexo::Detail
