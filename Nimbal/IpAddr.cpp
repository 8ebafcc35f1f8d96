#include <Nimbal/IpAddr.h>
#include <Nimbal/TextReader.h>

#include <ostream>

namespace Nimbal {

IpAddr IpAddr::fromString(std::string_view text) {
    TextReader reader(text);
    IpAddr const address = reader.readIpAddr();
    reader.checkAllRead();
    return address;
}

String IpAddr::stringValue() const {
    auto const [a, b, c, d] = bytes();
    return Vexo::formatString("%u.%u.%u.%u", unsigned{a}, unsigned{b}, unsigned{c}, unsigned{d});
}

std::ostream& operator<<(std::ostream& out, IpAddr const& address) {
    return out << address.stringValue();
}

}  // namespace Nimbal
