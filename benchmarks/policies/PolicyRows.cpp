#include "PolicyGoals.h"

#include <algorithm>
#include <iomanip>
#include <istream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace PolicyFigures {

std::string familyName(Nimbal::AddressFamily af) {
    return af == Nimbal::AddressFamily::ipv6 ? "IPv6" : "IPv4";
}

bool isNamed(std::string const& policy) {
    return policy.find(':') == std::string::npos;
}

std::string figures(Row const& row, int moreDigits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3 + moreDigits) << row.worstRatio << " at "
         << std::setprecision(2 + moreDigits) << row.moves;
    return text.str();
}

std::vector<Row> rowsOf(std::vector<Row> const& all, std::string const& work,
                        Nimbal::AddressFamily af, U32 bucketRoutes) {
    std::vector<Row> rows;
    std::copy_if(all.begin(), all.end(), std::back_inserter(rows), [&](Row const& row) {
        return row.work == work && row.af == af && row.bucketRoutes == bucketRoutes;
    });
    return rows;
}

std::string csv(Row const& row) {
    std::ostringstream line;
    line << row.work << ',' << familyName(row.af) << ',' << row.bucketRoutes << ',' << row.seed
         << ',' << row.policy << ',' << std::fixed << std::setprecision(4) << row.worstRatio << ','
         << row.optimumThere << ',' << row.moves << ',' << row.mostMoves << ',' << row.routes << ','
         << row.updates << ',' << row.microseconds << ',' << row.libraryMicroseconds;
    return line.str();
}

std::vector<Row> readRows(std::istream& lines) {
    std::vector<Row> rows;
    for (std::string line; std::getline(lines, line);) {
        Row row;
        std::istringstream text(line);
        std::string family;
        std::getline(text, row.work, ',');
        std::getline(text, family, ',');
        row.af = family == "IPv6" ? Nimbal::AddressFamily::ipv6 : Nimbal::AddressFamily::ipv4;
        char comma = 0;
        text >> row.bucketRoutes >> comma >> row.seed >> comma;
        std::getline(text, row.policy, ',');
        text >> row.worstRatio >> comma >> row.optimumThere >> comma >> row.moves >> comma >>
            row.mostMoves >> comma >> row.routes >> comma >> row.updates >> comma >>
            row.microseconds >> comma >> row.libraryMicroseconds;
        if (!text) {
            throw std::runtime_error("not a line of figures: " + line);
        }
        rows.push_back(row);
    }
    return rows;
}

}  // namespace PolicyFigures
