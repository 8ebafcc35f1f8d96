#include "PolicyWorks.h"

#include <client/Window.h>
#include <tools/Shuffle.h>
#include <benchmarks/Clock.h>
#include <benchmarks/NoChip.h>

#include <algorithm>
#include <stdexcept>

namespace PolicyFigures {

using LpmBenchmarks::NoChip;
using LpmBenchmarks::processorTime;
using LpmClient::Outcome;
using LpmClient::PartitionManager;

namespace {

/** A table under one policy, whose works are watched at every tenth. */
class Bench {
public:
    explicit Bench(Setting const& setting)
        : chip_(setting.bucketRoutes),
          manager_(chip_, numbers(), options(setting), setting.makePolicy()) {}

    PartitionManager& manager() noexcept { return manager_; }

    /** `updates` times, `perStep` updates each. */
    Figures watch(U64 steps, U64 perStep, std::function<bool(U64)> const& step) {
        Figures figures;
        U64 const movesBefore = manager_.counts().moves;
        double time = 0;
        U64 done = 0;
        for (U64 tenth = 1; tenth <= 10; ++tenth) {
            double const start = processorTime();
            for (; done < steps * tenth / 10; ++done) {
                if (!step(done)) {
                    throw std::runtime_error("an update was not carried out");
                }
            }
            time += processorTime() - start;
            figures.tenths.push_back(
                {done * perStep, manager_.routes(), manager_.buckets(),
                 LpmClient::fewestPieces(manager_.trie(), manager_.bucketRoutes()),
                 manager_.counts().moves - movesBefore});
        }
        figures.microseconds = time / 1e3 / static_cast<double>(steps * perStep);
        return figures;
    }

private:
    static Torvel::Bitmap::Ptr numbers() { return Torvel::Bitmap::BitmapIs(NoChip::mostBuckets); }
    static LpmClient::ManagerOptions options(Setting const& setting) {
        LpmClient::ManagerOptions options;
        options.af = setting.af;
        return options;
    }

    NoChip chip_;
    PartitionManager manager_;
};

Figures announceAll(Bench& bench, std::span<Nimbal::IpGenPrefix const> prefixes) {
    return bench.watch(prefixes.size(), 1, [&](U64 at) {
        return bench.manager().announce({prefixes[at], at}) == Outcome::done;
    });
}

}  // namespace

Tenth const& Figures::worst() const {
    return *std::max_element(tenths.begin(), tenths.end(),
                             [](Tenth const& a, Tenth const& b) { return a.ratio() < b.ratio(); });
}

double Figures::mostMoves() const noexcept {
    double worst = 0;
    for (Tenth const& tenth : tenths) {
        worst = std::max(worst, tenth.movesEach(tenth.updates));
    }
    return worst;
}

Figures download(Setting const& setting, Prefixes const& table) {
    Bench bench(setting);
    std::vector<LpmClient::Route> routes;
    for (Nimbal::IpGenPrefix const& prefix : table) {
        routes.push_back({prefix, routes.size()});
    }
    Figures figures = bench.watch(10, 1, [&](U64 at) {
        return at != 9 || bench.manager().download(routes) == Outcome::done;
    });
    figures.tenths.erase(figures.tenths.begin(), figures.tenths.end() - 1);
    figures.tenths.front().updates = table.size();
    figures.microseconds *= 10.0 / static_cast<double>(table.size());
    return figures;
}

Figures addressOrder(Setting const& setting, Prefixes table) {
    std::sort(table.begin(), table.end());
    Bench bench(setting);
    return announceAll(bench, table);
}

RandomFigures randomOrder(Setting const& setting, Prefixes table, U64 replacements) {
    LpmTools::Xoshiro random(setting.seed);
    LpmTools::shuffle(table, random);
    std::size_t const held = replacements == 0 ? 0 : table.size() / 10;
    std::span<Nimbal::IpGenPrefix> const live(table.data(), table.size() - held);
    std::span<Nimbal::IpGenPrefix> const withdrawn(table.data() + live.size(), held);
    Bench bench(setting);
    RandomFigures figures;
    figures.load = announceAll(bench, live);
    if (replacements != 0) {
        figures.replacements = bench.watch(replacements, 2, [&](U64 at) {
            auto& goes = live[random.below(live.size())];
            auto& comes = withdrawn[random.below(withdrawn.size())];
            bool const gone = bench.manager().withdraw(goes) == Outcome::done;
            std::swap(goes, comes);
            return gone && bench.manager().announce({goes, at}) == Outcome::done;
        });
    }
    return figures;
}

double libraryMicroseconds(Prefixes table) {
    LpmTools::Xoshiro random(1);
    LpmTools::shuffle(table, random);
    auto const trie = LpmTrie::trieFactory(0);
    trie->afIs(table.front().af());
    double const time = LpmBenchmarks::timeEach(table.size(), [&] {
        for (Nimbal::IpGenPrefix const& prefix : table) {
            trie->insertFromRoot(prefix, true, false, nullptr, 1);
        }
    });
    LpmTrie::removeAll(*trie);
    return time / 1e3;
}

}  // namespace PolicyFigures
