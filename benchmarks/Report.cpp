#include <Vexo/Types.h>
#include <benchmarks/Report.h>

#include <algorithm>
#include <ostream>

namespace LpmBenchmarks {

namespace {

std::string cell(double value, double base) {
    if (value < 0) {
        return "–";
    }
    auto const rounded = static_cast<long>(value + 0.5);
    if (base <= 0) {
        return std::to_string(rounded);
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%ld (%.2f)", rounded, value / base);
    return text.data();
}

}  // namespace

void writeTable(std::ostream& out, std::string const& title,
                std::vector<PeerFigures> const& figures, std::string const& base) {
    auto const place = std::find_if(figures.begin(), figures.end(),
                                    [&](PeerFigures const& of) { return of.name == base; });
    out << "### " << title << "\n\n| Work |";
    for (PeerFigures const& of : figures) {
        out << ' ' << of.name << " |";
    }
    out << "\n|---|";
    for (std::size_t i = 0; i < figures.size(); ++i) {
        out << "---|";
    }
    out << '\n';
    for (std::size_t work = 0; work < workCount; ++work) {
        out << "| " << nameOf(static_cast<Work>(work)) << " |";
        for (PeerFigures const& of : figures) {
            double const reference = place == figures.end() ? 0 : place->medians.at(work);
            out << ' ' << cell(of.medians.at(work), reference) << " |";
        }
        out << '\n';
    }
    out << '\n';
}

}  // namespace LpmBenchmarks
