#include "PolicyGoals.h"

#include <client/Policy.h>
#include <tools/Svg.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <map>
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
    {"download", "A whole table at once, whatever the policy", "a route"},
    {"random", "One route after the other, in random order", "a route"},
    {"address", "One route after the other, in order of address", "a route"},
    {"replacements", "Then random replacements", "a replacement"}};

/** The place of a policy's group in the pictures. */
std::size_t groupOf(std::string const& policy) {
    return isNamed(policy) ? 0 : policy[0] == 'w' ? 1 : policy[0] == 'r' ? 2 : 3;
}

void writeFile(std::string const& path, std::string const& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

std::string cell(std::vector<Row> const& rows, std::string_view policy) {
    auto const row =
        std::find_if(rows.begin(), rows.end(), [&](Row const& at) { return at.policy == policy; });
    if (row == rows.end()) {
        return "";
    }
    std::ostringstream text;
    text << figures(*row) << std::fixed << std::setprecision(2);
    if (row->mostMoves >= row->moves + 0.005) {
        text << " (" << row->mostMoves << ')';
    }
    return text.str();
}

class Writer {
public:
    Writer(std::vector<Row> const& rows, std::string const& directory) : directory_(directory) {
        for (Row const& row : rows) {
            tables_.insert({row.af, row.bucketRoutes});
            seeds_[{row.work, row.af}][row.policy].insert(row.seed);
            routes_[row.af] = std::max(routes_[row.af], row.routes);
            add(row);
        }
    }

    void write() {
        head();
        for (Work const& work : works) {
            section(work);
        }
        writeGoals(text_, rows_);
        times();
        writeFile(directory_ + "/policies.md", text_.str());
    }

private:
    /** Adds figures, or makes those of another seed worse. */
    void add(Row const& row) {
        for (Row& known : rows_) {
            if (known.work == row.work && known.af == row.af && known.policy == row.policy &&
                known.bucketRoutes == row.bucketRoutes) {
                if (known.worstRatio < row.worstRatio) {
                    known.worstRatio = row.worstRatio;
                    known.optimumThere = row.optimumThere;
                }
                known.moves = std::max(known.moves, row.moves);
                known.mostMoves = std::max(known.mostMoves, row.mostMoves);
                return;
            }
        }
        rows_.push_back(row);
    }

    void head() {
        text_
            << "# Partition policies, measured\n\n"
            << "Written by `scripts/policy-figures`; do not edit.\n\n"
            << "How many buckets a policy takes, as a ratio to the fewest possible for the same "
               "routes\n(Kundu and Misra's greedy, exact), and how many routes it moves: routes "
               "written again into\nanother bucket though they did not change. \"1.05 at 0.90 "
               "(0.95)\" is at most 5 % more buckets than the\nfewest at any tenth of the work, 0.90 "
               "moves over all of it, and 0.95 from the start up to the tenth\nwhere that is "
               "highest. An empty cell has not been measured. The worst of the seeds is shown.\n\nRoutes:";
        for (auto const& [af, routes] : routes_) {
            text_ << (af == routes_.begin()->first ? " " : " and ") << routes << " of "
                  << familyName(af);
        }
        text_ << ".\n\n| Policy | |\n|---|---|\n";
        for (auto const& policy : LpmClient::policies()) {
            text_ << "| `" << policy.name << "` | " << policy.text << " |\n";
        }
    }

    /** Which seeds a work has been measured with; policies that share theirs are told together. */
    void seeds(Work const& work) {
        char const* separator = "Seeds: ";
        for (auto const af : {Nimbal::AddressFamily::ipv4, Nimbal::AddressFamily::ipv6}) {
            std::map<std::set<U64>, std::vector<std::string_view>> sharing;
            for (std::string_view const policy : policiesOf(work)) {
                if (auto const& known = seeds_[{work.name, af}][std::string(policy)];
                    !known.empty()) {
                    sharing[known].push_back(policy);
                }
            }
            for (auto const& [seeds, policies] : sharing) {
                text_ << separator << familyName(af);
                for (U64 const seed : seeds) {
                    text_ << ' ' << seed;
                }
                for (std::string_view const policy : policies) {
                    if (sharing.size() > 1) {
                        text_ << (policy == policies.front() ? " of `" : ", `") << policy << '`';
                    }
                }
                separator = "; ";
            }
        }
        text_ << ".\n\n";
    }

    /** The named policies that a work has been measured with. */
    std::vector<std::string_view> policiesOf(Work const& work) const {
        std::vector<std::string_view> names;
        for (auto const& policy : LpmClient::policies()) {
            if (std::any_of(rows_.begin(), rows_.end(), [&](Row const& row) {
                    return row.work == work.name && row.policy == policy.name;
                })) {
                names.push_back(policy.name);
            }
        }
        return names;
    }

    /** The fewest that any run of the work has had. */
    U64 updatesOf(Work const& work) const {
        U64 fewest = ~U64{0};
        for (Row const& row : rows_) {
            fewest = row.work == work.name ? std::min(fewest, row.updates) : fewest;
        }
        return fewest;
    }

    void section(Work const& work) {
        auto const measured = policiesOf(work);
        std::ostringstream lines;
        for (auto const& [af, bucketRoutes] : tables_) {
            auto const rows = rowsOf(rows_, work.name, af, bucketRoutes);
            if (rows.empty()) {
                continue;
            }
            lines << "| " << familyName(af) << ", " << bucketRoutes << " |";
            for (std::string_view const policy : measured) {
                lines << ' ' << cell(rows, policy) << " |";
            }
            lines << '\n';
        }
        if (lines.str().empty()) {
            return;
        }
        text_ << "\n## " << work.title << "\n\n";
        if (work.name == "replacements") {
            text_
                << "A random route is withdrawn, and one of those withdrawn earlier comes back. A "
                   "tenth of the table is held\nback from the start, as withdrawn before it. "
                   "Moves are counted from the first replacement on. Replacements: "
                << updatesOf(work) << ".\n\n";
        }
        seeds(work);
        text_ << "| Buckets to the fewest at moves " << work.unit << " |";
        for (std::string_view const policy : measured) {
            text_ << " `" << policy << "` |";
        }
        text_ << "\n|---|";
        std::fill_n(std::ostream_iterator<char const*>(text_), measured.size(), "---|");
        text_ << '\n' << lines.str();
        if (work.name != "download") {
            pictures(work);
        }
    }

    void pictures(Work const& work) {
        text_ << '\n';
        for (auto const& [af, bucketRoutes] : tables_) {
            auto const rows = rowsOf(rows_, work.name, af, bucketRoutes);
            if (rows.empty() || (bucketRoutes != 64 && bucketRoutes != 512)) {
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
            "both. Marks without a name are other settings of a family of policies.";
        chart.x = {"moves " + work.unit, false, false, ""};
        chart.y = {"buckets to the fewest possible", false, false, ""};
        chart.groups = {"policies by name", "window, by slack", "redistribute, by share",
                        "half, by share"};
        for (Row const& row : rows) {
            chart.marks.push_back({{row.moves, row.worstRatio},
                                   isNamed(row.policy) ? row.policy : std::string(),
                                   groupOf(row.policy)});
        }
        return LpmTools::svgScatter(chart);
    }

    void times() {
        text_
            << "\n## Time\n\nProcessor time of the client, with a chip that does nothing, against "
               "the library's own\n`insertFromRoot`, both in random order in one run.\n\n"
            << "| Random order | Policy | library, µs a route | client, µs a route | ratio |\n"
            << "|---|---|---|---|---|\n";
        for (Row const& row : rows_) {
            if (row.work == "time") {
                text_ << "| " << familyName(row.af) << ", " << row.bucketRoutes << " | `"
                      << row.policy << "` | " << std::fixed << std::setprecision(2)
                      << row.libraryMicroseconds << " | " << row.microseconds << " | "
                      << row.microseconds / row.libraryMicroseconds << " |\n";
            }
        }
    }

    std::string const directory_;
    std::vector<Row> rows_;
    std::set<std::pair<Nimbal::AddressFamily, U32>> tables_;
    /** Of each policy that a work has been measured with. */
    std::map<std::pair<std::string, Nimbal::AddressFamily>, std::map<std::string, std::set<U64>>>
        seeds_;
    std::map<Nimbal::AddressFamily, U64> routes_;
    std::ostringstream text_;
};

}  // namespace

void writeReport(std::vector<Row> const& rows, std::string const& directory) {
    Writer(rows, directory).write();
}

}  // namespace PolicyFigures
