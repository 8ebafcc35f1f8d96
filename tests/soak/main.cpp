/*
 * A soak: a table in a simulated chip, and updates of it for hours of simulated time, as fast as
 * the machine allows. At intervals the whole table is there; then the chip's answers are compared
 * with a table that shares no code with the trie, the trie is verified and the chip audited, and
 * memory has to be what it was after the first interval.
 *
 * The closing figures are lines of "label: value", as scripts/evidence takes them.
 */

#include <tests/soak/Memory.h>
#include <tests/soak/RouteWeather.h>
#include <tools/CommandLine.h>
#include <tools/FamilyRun.h>
#include <tools/Texts.h>

#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <memory>

namespace Soak {
namespace {

using LpmTools::decimal;
using LpmTools::grouped;
using Nimbal::AddressFamily;

constexpr U64 randomAddresses = 100'000;  // of each family, beside each prefix's ends

struct Options {
    LpmTools::Source source;
    U64 rate = 1000;      // updates a simulated second
    U64 seconds = 86400;  // simulated
    U64 interval = 3600;  // simulated seconds from check to check
    U64 minutes = 0;      // real time after which no interval is begun; 0: no bound
    U64 slack = 0;        // bytes
};

/** "01:30:00". */
std::string clockText(U64 seconds) {
    std::ostringstream text;
    text << std::setfill('0') << std::setw(2) << seconds / 3600 << ':' << std::setw(2)
         << seconds / 60 % 60 << ':' << std::setw(2) << seconds % 60;
    return text.str();
}

std::string megabytes(U64 bytes) {
    return decimal(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

std::vector<LpmClient::Route> routesOf(Options const& options) {
    if (options.source.files.empty()) {
        return LpmTools::generateRoutes(options.source);
    }
    LpmTools::NextHopNumbers nextHops;
    LpmTools::RouteInputs inputs(options.source.table, nextHops);
    auto routes = inputs.readTables(options.source.files);
    if (!inputs.firstError().empty()) {
        throw std::runtime_error(inputs.firstError());
    }
    return routes;
}

/** Four times what full buckets would take: an update that finds no room is an error here. */
LpmClient::ChipSize chipSize(Options const& options, U64 routes) {
    U32 const bucketRoutes = options.source.bucket;
    U32 const buckets = static_cast<U32>(4 * routes / bucketRoutes + 64);
    return {buckets, bucketRoutes, buckets};
}

class Run {
public:
    Run(Options const& options, std::vector<LpmClient::Route> const& routes)
        : options_(options),
          routes_(routes.size()),
          weather_(routes, options.source.seed),
          chip_(chipSize(options, routes.size())) {
        auto const numbers = Torvel::Bitmap::BitmapIs(chip_.bucketLimit());
        for (AddressFamily const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
            LpmClient::ManagerOptions manager;
            manager.af = af;
            families_.push_back(
                std::make_unique<LpmTools::FamilyRun>(chip_, numbers, manager, false));
            std::vector<LpmClient::Route> own;
            std::ranges::copy_if(routes, std::back_inserter(own),
                                 [&](auto const& route) { return route.prefix.af() == af; });
            if (!families_.back()->download(own)) {
                fail("the chip does not take the table");
            }
            families_.back()->expectUpdates(0);
        }
    }

    /** True when all went well. */
    bool soak() {
        while (good_ && at_ < options_.seconds && !isLate()) {
            U64 const seconds = std::min(options_.interval, options_.seconds - at_);
            U64 const updates = seconds * options_.rate;
            for (U64 left = updates; left > 0; --left) {
                if (left == updates / 2) {
                    weather_.storm();
                }
                auto const event = weather_.next(left);
                families_[event.route.prefix.af() == AddressFamily::ipv6 ? 1 : 0]->take(event);
            }
            at_ += seconds;
            check();
        }
        tellFigures();
        return good_;
    }

private:
    bool isLate() const {
        return options_.minutes > 0 && realSeconds() >= 60 * static_cast<double>(options_.minutes);
    }

    double realSeconds() const {
        std::chrono::duration<double> const time = std::chrono::steady_clock::now() - start_;
        return time.count();
    }

    static double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

    void check() {
        U64 routes = 0;
        U64 buckets = 0;
        plans_.clear();
        for (auto const& family : families_) {
            family->checkAnswers(randomAddresses, random_);
            plans_.push_back(family->finish());
            routes += plans_.back().routes;
            buckets += plans_.back().buckets;
            for (std::string const& trouble : family->troubles()) {
                fail(trouble);
            }
        }
        if (routes != routes_) {
            fail(grouped(routes) + " routes, not " + grouped(routes_));
        }
        Memory const memory = Memory::now();
        readMemory(memory);
        ++checks_;
        std::cout << clockText(at_) << "  " << grouped(at_ * options_.rate) << " updates, "
                  << grouped(buckets) << " buckets, " << megabytes(memory.resident) << " resident, "
                  << megabytes(memory.tracked) << " tracked; verified and compared" << std::endl;
    }

    /** The first reading is the warm process's. */
    void readMemory(Memory const& memory) {
        if (checks_ == 0) {
            resident_ = Drift(memory.resident);
            tracked_ = Drift(memory.tracked);
        }
        resident_.read(memory.resident);
        tracked_.read(memory.tracked);
        if (!resident_.isFlat(options_.slack) || !tracked_.isFlat(0)) {
            fail("memory has changed by more than 1 %");
        }
    }

    void fail(std::string const& why) {
        std::cerr << "soak: " << why << '\n';
        good_ = false;
    }

    void tellFigures() const {
        U64 addresses = 0;
        U64 wrong = 0;
        U64 recuts = 0;
        for (LpmTools::FamilyPlan const& family : plans_) {
            addresses += family.answers.addresses;
            wrong += family.answers.wrong;
            recuts += family.counts.splits + family.counts.merges + family.counts.shifts;
        }
        std::cout << "simulated time: " << clockText(at_) << "\nroutes: " << grouped(routes_)
                  << "\nupdates: " << grouped(at_ * options_.rate)
                  << "\nsplits, merges and shifts: " << grouped(recuts)
                  << "\nverified, audited and compared: " << checks_ << " times"
                  << "\nanswers compared: " << grouped(addresses)
                  << "\nwrong answers: " << grouped(wrong)
                  << "\nresident memory: " << text(resident_)
                  << "\ntracked allocation: " << text(tracked_)
                  << "\ntime: " << decimal(realSeconds() / 60, 1) << " minutes, "
                  << decimal(processorSeconds() / 60, 1) << " of them on a processor" << std::endl;
    }

    static std::string text(Drift const& drift) {
        return megabytes(drift.first()) + " after the first interval, " + megabytes(drift.last()) +
               " at the end, largest difference " + decimal(drift.percent(), 2) + " %";
    }

    Options const options_;
    std::chrono::steady_clock::time_point const start_ = std::chrono::steady_clock::now();
    U64 const routes_;
    RouteWeather weather_;
    LpmClient::SimulatedChip chip_;
    LpmTools::Xoshiro random_{options_.source.seed};
    std::vector<std::unique_ptr<LpmTools::FamilyRun>> families_;  // IPv4, IPv6
    std::vector<LpmTools::FamilyPlan> plans_;
    U64 at_ = 0;  // simulated seconds
    U64 checks_ = 0;
    Drift resident_{0};
    Drift tracked_{0};
    bool good_ = true;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("table", options.source.files, "Tables, text or MRT; none: generated ones");
    LpmTools::addBucketOption(app, options.source);
    LpmTools::addSizeOptions(app, options.source);
    LpmTools::addSeedOption(app, options.source);
    LpmTools::addNumber(app, "--rate", options.rate, "Updates a simulated second", U64{1});
    LpmTools::addNumber(app, "--seconds", options.seconds, "Simulated seconds", U64{1});
    LpmTools::addNumber(app, "--interval", options.interval,
                        "Simulated seconds from check to check", U64{1});
    LpmTools::addNumber(app, "--minutes", options.minutes,
                        "Begin no interval after so many minutes of real time; 0: no bound");
    LpmTools::addNumber(app, "--slack", options.slack,
                        "Bytes by which resident memory may change where 1 % is less");
}

}  // namespace
}  // namespace Soak

int main(int argumentCount, char** arguments) {
    Soak::Options options;
    CLI::App app("Updates a table for hours of simulated time", "soak");
    Soak::addOptions(app, options);
    CLI11_PARSE(app, argumentCount, arguments);
    try {
        auto const routes = Soak::routesOf(options);
        return Soak::Run(options, routes).soak() ? 0 : 1;
    } catch (std::exception const& error) {
        std::cerr << "soak: " << error.what() << '\n';
        return 1;
    }
}
