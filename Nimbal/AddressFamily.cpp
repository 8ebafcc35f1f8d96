#include <Nimbal/AddressFamily.h>

#include <ostream>

namespace Nimbal {

constinit Vexo::FwkModule const nimbalModule("Nimbal", "Nimbal/Nimbal");

std::ostream& operator<<(std::ostream& out, AddressFamily const& af) {
    switch (af) {
    case AddressFamily::none:
        return out << "none";
    case AddressFamily::ipv4:
        return out << "ipv4";
    case AddressFamily::ipv6:
        return out << "ipv6";
    }
    return out << std::to_string(static_cast<U32>(af));  // decimal on any stream
}

}  // namespace Nimbal
