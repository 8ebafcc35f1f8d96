#include <tools/Texts.h>

#include <sstream>

namespace LpmTools {

using Vexo::U64;

std::string familyCode(Nimbal::AddressFamily af) {
    std::ostringstream name;
    name << af;
    return name.str();
}

std::string grouped(U64 number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3) {
        text.insert(at - 3, ",");
    }
    return text;
}

std::string decimal(double number, int places) {
    return Vexo::formatString("%.*f", places, number);
}

double ratio(U64 number, U64 of) noexcept {
    return of == 0 ? 0 : static_cast<double>(number) / static_cast<double>(of);
}

void addLine(std::string& text, char const* label, std::string const& number,
             std::string const& rest) {
    text += Vexo::formatString("  %-14s %12s%s%s\n", label, number.c_str(),
                               rest.empty() ? "" : "  ", rest.c_str());
}

}  // namespace LpmTools
