#include "PolicyReport.h"

#include <client/Policy.h>
#include <tools/Svg.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <set>
#include <sstream>
#include <stdexcept>

namespace PolicyFigures {

namespace {

struct Work {
    std::string name;
    std::string title;
    std::string unit;
};

std::vector<Work> const works{
    {"download", "A whole table at once", "a route"},
    {"random", "One route after the other, in random order", "a route"},
    {"address", "One route after the other, in order of address", "a route"},
    {"replacements", "Then random replacements", "a replacement"}};

std::string familyName(Nimbal::AddressFamily af) {
    return af == Nimbal::AddressFamily::ipv6 ? "IPv6" : "IPv4";
}

bool isNamed(std::string const& policy) {
    return policy.find(':') == std::string::npos;
}

void writeFile(std::string const& path, std::string const& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

/** Rows of one work, family and bucket. */
std::vector<Row> rowsOf(Report const& report, Work const& work, Nimbal::AddressFamily af,
                        U32 bucketRoutes) {
    std::vector<Row> rows;
    std::copy_if(
        report.rows.begin(), report.rows.end(), std::back_inserter(rows), [&](Row const& row) {
            return row.work == work.name && row.af == af && row.bucketRoutes == bucketRoutes;
        });
    return rows;
}

std::string cell(std::vector<Row> const& rows, std::string_view policy) {
    auto const row =
        std::find_if(rows.begin(), rows.end(), [&](Row const& at) { return at.policy == policy; });
    if (row == rows.end()) {
        return "";
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << row->worstRatio << " at " << std::setprecision(2)
         << row->worstMoves;
    return text.str();
}

class Writer {
public:
    Writer(Report const& report, std::string const& directory)
        : report_(report), directory_(directory) {
        for (Row const& row : report.rows) {
            tables_.insert({row.af, row.bucketRoutes});
        }
    }

    void write() {
        head();
        for (Work const& work : works) {
            section(work);
        }
        times();
        writeFile(directory_ + "/policies.md", text_.str());
    }

private:
    void head() {
        text_
            << "# Partition policies, measured\n\n"
            << "Written by `scripts/policy-figures`; do not edit.\n\n"
            << "How many buckets a policy takes, as a ratio to the fewest possible for the same "
               "routes\n(Kundu and Misra's greedy, exact), and how many routes it moves: routes "
               "written again into\nanother bucket though they did not change. Each figure is the "
               "worst of the ten tenths of the work\n";
        text_ << "and of the seeds";
        for (U64 const seed : report_.seeds) {
            text_ << ' ' << seed;
        }
        text_ << ": \"1.05 at 0.90\" is 5 % more buckets than the fewest, and 0.90 moves.\n\n"
              << "Routes: " << report_.table << ".\n\n| Policy | |\n|---|---|\n";
        for (auto const& policy : LpmClient::policies()) {
            text_ << "| `" << policy.name << "` | " << policy.text << " |\n";
        }
    }

    void section(Work const& work) {
        std::ostringstream lines;
        for (auto const& [af, bucketRoutes] : tables_) {
            auto const rows = rowsOf(report_, work, af, bucketRoutes);
            if (rows.empty()) {
                continue;
            }
            lines << "| " << familyName(af) << ", " << bucketRoutes << " |";
            for (auto const& policy : LpmClient::policies()) {
                lines << ' ' << cell(rows, policy.name) << " |";
            }
            lines << '\n';
        }
        if (lines.str().empty()) {
            return;
        }
        text_ << "\n## " << work.title << "\n\n";
        if (work.name == "replacements") {
            text_
                << report_.replacements
                << " times: a random route is withdrawn, and one of those withdrawn earlier comes "
                   "back. A tenth of\nthe table is held back from the start, as withdrawn before "
                   "it. Moves are counted from the first\nreplacement on.\n\n";
        }
        text_ << "| Buckets to the fewest at moves " << work.unit << " |";
        for (auto const& policy : LpmClient::policies()) {
            text_ << " `" << policy.name << "` |";
        }
        text_ << "\n|---|";
        for (std::size_t i = 0; i < LpmClient::policies().size(); ++i) {
            text_ << "---|";
        }
        text_ << '\n' << lines.str();
        if (work.name != "download") {
            pictures(work);
        }
    }

    void pictures(Work const& work) {
        text_ << '\n';
        for (auto const& [af, bucketRoutes] : tables_) {
            auto const rows = rowsOf(report_, work, af, bucketRoutes);
            bool const shown = bucketRoutes == 64 || bucketRoutes == 512;
            if (rows.empty() || !shown) {
                continue;
            }
            std::string const name = "policies-" + work.name + "-" + familyName(af) + "-" +
                                     std::to_string(bucketRoutes) + ".svg";
            std::string const title = work.title + ": " + familyName(af) + ", " +
                                      std::to_string(bucketRoutes) + " routes a bucket";
            writeFile(directory_ + "/pictures/" + name, frontier(work, title, rows));
            text_ << "![" << title << "](pictures/" << name << ")\n";
        }
    }

    static std::string frontier(Work const& work, std::string const& title,
                                std::vector<Row> const& rows) {
        LpmTools::SvgScatter chart;
        chart.look.title = title;
        chart.look.description =
            "Each mark is a policy: moved routes to the right, buckets upwards; less is better in "
            "both. The joined marks are window policies of other weights.";
        chart.x = {"moves " + work.unit, false, false, ""};
        chart.y = {"buckets to the fewest possible", false, false, ""};
        chart.groups = {"policies by name", "window, by slack"};
        for (Row const& row : rows) {
            bool const named = isNamed(row.policy);
            chart.marks.push_back({{row.worstMoves, row.worstRatio},
                                   named ? row.policy : std::string(),
                                   named ? std::size_t{0} : std::size_t{1}});
        }
        return LpmTools::svgScatter(chart);
    }

    void times() {
        text_
            << "\n## Time\n\nProcessor time of the client, with a chip that does nothing, against the "
               "library's own\n`insertFromRoot`, both in random order in one run.\n\n"
            << "| Random order | library, µs a route | `window`, µs a route | ratio |\n"
            << "|---|---|---|---|\n";
        for (LibraryTime const& library : report_.library) {
            for (Row const& row : report_.rows) {
                if (row.work == "random" && row.policy == "window" && row.af == library.af) {
                    text_ << "| " << familyName(row.af) << ", " << row.bucketRoutes << " | "
                          << std::fixed << std::setprecision(2) << library.microseconds << " | "
                          << row.microseconds << " | " << row.microseconds / library.microseconds
                          << " |\n";
                }
            }
        }
    }

    Report const& report_;
    std::string const directory_;
    std::set<std::pair<Nimbal::AddressFamily, U32>> tables_;
    std::ostringstream text_;
};

}  // namespace

void Report::add(Row const& row) {
    for (Row& known : rows) {
        if (known.work == row.work && known.af == row.af && known.policy == row.policy &&
            known.bucketRoutes == row.bucketRoutes) {
            known.worstRatio = std::max(known.worstRatio, row.worstRatio);
            known.worstMoves = std::max(known.worstMoves, row.worstMoves);
            known.microseconds = std::min(known.microseconds, row.microseconds);
            return;
        }
    }
    rows.push_back(row);
}

void writeReport(Report const& report, std::string const& directory) {
    Writer(report, directory).write();
}

}  // namespace PolicyFigures
