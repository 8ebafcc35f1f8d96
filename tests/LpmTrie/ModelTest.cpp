#include <tests/LpmTrie/ModelOperations.h>
#include <tests/Support/Instrumented.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <string_view>

/*
 * Random operations on a trie beside the naive model. LPMTRIE_MODEL_OPERATIONS sets how many each
 * family gets, LPMTRIE_MODEL_SEED repeats a run whose seed has been printed. Where the two differ,
 * the operations since the trie was last empty are thinned out until each one left is needed. A
 * fatal assertion ends the run; its seed has been printed before.
 */

namespace TrieModel {
namespace {

using Nimbal::AddressFamily;

#if LPMTRIE_INSTRUMENTED
constexpr std::uint64_t usualOperations = 20'000;
#else
constexpr std::uint64_t usualOperations = 200'000;
#endif

std::uint64_t fromEnvironment(char const* name, std::uint64_t otherwise) {
    char const* const set = std::getenv(name);
    if (set == nullptr) {
        return otherwise;
    }
    std::string_view const text = set;
    std::uint64_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    EXPECT_TRUE(error == std::errc() && end == text.data() + text.size()) << name << " is " << text;
    return value;
}

std::string text(World const& world, Operation const& operation) {
    static constexpr std::array<char const*, kinds> names{
        "insert",       "askRefusal",  "lookUp",  "remove",  "removeNode",
        "cut",          "dissolve",    "merge",   "split",   "mergeToNode",
        "redistribute", "parentMerge", "pending", "complete"};
    static constexpr std::array<char const*, 3> ids{"fresh", "as the partition", "null"};
    std::string line = names[static_cast<std::size_t>(operation.kind)];
    line += " " + world.text(operation.prefix);
    if (operation.other) {
        line += " with " + world.text(*operation.other);
    }
    line += operation.route ? ", route" : "";
    line += operation.partition ? ", partition" : "";
    line += operation.collect ? ", collect" : "";
    line += operation.flag ? ", flag" : "";
    line += operation.later ? ", later" : "";
    return line + ", number " + std::to_string(operation.number) + ", id " +
           ids[static_cast<std::size_t>(operation.id)];
}

using Journal = std::vector<Operation>;

/** What trie and model differ in after these operations; empty when they agree. */
std::string replay(AddressFamily af, Journal const& journal) {
    World world(af);
    for (Operation const& operation : journal) {
        play(world, operation);
        if (!world.disagreement().empty()) {
            break;
        }
    }
    return world.disagreement();
}

/** Leaves out ever smaller runs of operations, as long as trie and model still differ. */
Journal thinned(AddressFamily af, Journal journal) {
    std::size_t run = journal.size() / 2 + 1;
    while (true) {
        std::size_t const before = journal.size();
        for (std::size_t at = 0; at < journal.size();) {
            auto const first = journal.begin() + static_cast<std::ptrdiff_t>(at);
            auto const last =
                first + static_cast<std::ptrdiff_t>(std::min(run, journal.size() - at));
            Journal fewer(journal.begin(), first);
            fewer.insert(fewer.end(), last, journal.end());
            if (replay(af, fewer).empty()) {
                at += run;
            } else {
                journal = std::move(fewer);
            }
        }
        if (run == 1 && journal.size() == before) {
            return journal;
        }
        run = std::max<std::size_t>(1, run / 2);
    }
}

std::string shrunk(AddressFamily af, Journal const& journal) {
    World const names(af);
    Journal const needed = thinned(af, journal);
    std::string report = replay(af, needed);
    for (Operation const& operation : needed) {
        report += "\n  " + text(names, operation);
    }
    return report;
}

class ModelTest : public TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {
protected:
    /** Plays one operation that was legal; keeps all since the trie was last empty. */
    Operation step(World& world, Chooser& chooser) {
        Operation operation = chooser.choose(world);
        while (!play(world, operation)) {
            operation = chooser.choose(world);
        }
        if (world.model().empty() && world.disagreement().empty()) {
            journal_.clear();
        } else {
            journal_.push_back(operation);
        }
        return operation;
    }

    void finish(World& world) {
        removeEverything(world);
        EXPECT_EQ(world.disagreement(), "");
        EXPECT_TRUE(world.gone());
    }

    std::uint64_t const seed_ = fromEnvironment("LPMTRIE_MODEL_SEED", std::random_device()());
    std::uint64_t const operations_ = fromEnvironment("LPMTRIE_MODEL_OPERATIONS", usualOperations);
    Journal journal_;
};

TEST_P(ModelTest, randomOperationsLeaveTheTrieAsTheModelSays) {
    std::cout << "LPMTRIE_MODEL_SEED=" << seed_ << " LPMTRIE_MODEL_OPERATIONS=" << operations_
              << ' ' << GetParam() << std::endl;
    constexpr std::uint64_t phase = 2048;
    World world(GetParam());
    Chooser chooser(seed_);
    std::array<std::uint64_t, kinds> played{};
    std::array<std::uint64_t, kinds> steps{};
    std::uint64_t routes = 0;
    for (std::uint64_t i = 0; i < operations_; ++i) {
        if (i % phase == 0) {
            // Now and then so few that the trie is emptied and begun again and again.
            chooser.beginPhase(i / phase % 6 == 5 ? 2 : 64);
        }
        std::uint64_t const stepsBefore = world.steps();
        auto const kind = static_cast<std::size_t>(step(world, chooser).kind);
        ++played[kind];
        steps[kind] += world.steps() - stepsBefore;
        routes += world.model().empty() ? 0 : world.model().nodes().front().routeCount;
        if (!world.disagreement().empty()) {
            ADD_FAILURE() << "operation " << i << ": " << world.disagreement();
            FAIL() << "Needed for a difference: " << shrunk(GetParam(), journal_);
        }
    }
    if (operations_ >= 10'000) {
        for (std::size_t kind = 0; kind < kinds; ++kind) {
            EXPECT_GT(played[kind], operations_ / 200) << kind;
        }
        for (Kind const search : {Kind::split, Kind::redistribute, Kind::parentMerge}) {
            EXPECT_GT(steps[static_cast<std::size_t>(search)], operations_ / 500);
        }
        EXPECT_GT(routes / operations_, 40U);
    }
    finish(world);
}

INSTANTIATE_TEST_SUITE_P(Families, ModelTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                         [](auto const& test) {
                             return test.param == AddressFamily::ipv4 ? "Ipv4" : "Ipv6";
                         });

}  // namespace
}  // namespace TrieModel
