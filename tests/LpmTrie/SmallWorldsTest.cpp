#include <tests/LpmTrie/ModelSmallWorld.h>
#include <tests/Support/Instrumented.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

/*
 * All worlds of 3-bit addresses with up to 3 routes and 2 partitions: every order of insertion, and
 * from there every order of removal. What a step does depends on nothing but the state before it,
 * so orders that meet in one state are followed from there once: each state that any order leads to
 * is found, and each step out of it is done, compared with the model and verified.
 *
 * In each state all lookups and all searches are compared too, with every bound that matters.
 */

namespace TrieModel {
namespace {

#if LPMTRIE_INSTRUMENTED
constexpr U32 mostRoutes = 2;  // a tenth of the steps
#else
constexpr U32 mostRoutes = 3;
#endif
constexpr U32 mostPartitions = 2;

class Orders {
public:
    void run() {
        states_.push_back({});
        while (!states_.empty() && disagreement_.empty()) {
            State const state = std::move(states_.back());
            states_.pop_back();
            followAll(state);
        }
    }
    std::string const& disagreement() const { return disagreement_; }
    /** Sets of routes and partitions that were reached by insertion. */
    std::size_t worlds() const { return worlds_.size(); }

private:
    using Path = std::vector<Step>;

    struct State {
        Model model;
        /** One of the orders that lead there. */
        Path path;
    };

    /** Takes every step that there is from a state. */
    void followAll(State const& state) {
        World world(Nimbal::AddressFamily::ipv4, state.model);
        ask(world);
        std::vector<Step> const steps = stepsFrom(state);
        if (steps.empty() && !world.gone()) {
            disagreement_ = "something is left";
        }
        for (Step const& step : steps) {
            follow(state, step);
        }
        if (!disagreement_.empty()) {
            disagreement_ += text(world, state.path);
        }
    }

    void follow(State const& state, Step const& step) {
        World world(Nimbal::AddressFamily::ipv4, state.model);
        play(world, step);
        if (!world.disagreement().empty()) {
            disagreement_ = world.disagreement() + " by" + text(world, {step}) + "\nafter";
        } else if (seen_.insert(nameOf(world.model(), step.act == Act::insert)).second) {
            states_.push_back({world.model(), state.path});
            states_.back().path.push_back(step);
            if (step.act == Act::insert) {
                worlds_.insert(worldOf(world.model()));
            }
        }
    }

    void ask(World& world) {
        for (Prefix const& prefix : prefixes_) {
            world.lookUp(prefix);
        }
        std::vector<Node> const& nodes = world.model().nodes();
        for (Node const& node : nodes) {
            for (U32 most = 0; most <= mostRoutes; ++most) {
                world.findParentToMerge(node.prefix, most);
                for (bool const flag : {false, true}) {
                    if (node.partition) {
                        world.findRedistribution(node.prefix, most, flag);
                    }
                    if (node.partition && node.partitionRouteCount > most) {
                        world.findSplit(node.prefix, most, flag);
                    }
                }
                for (Node const& above : nodes) {
                    if (node.countsAsPartition() && above.partition &&
                        covers(above.prefix, node.prefix)) {
                        world.findMergeToNode(node.prefix, above.prefix, most);
                    }
                }
            }
        }
        disagreement_ = world.disagreement();
    }

    std::vector<Step> stepsFrom(State const& state) const {
        std::vector<Step> steps;
        if (state.path.empty() || state.path.back().act == Act::insert) {
            addInsertions(state.model, steps);
        }
        for (Node const& node : state.model.nodes()) {
            if (node.route) {
                steps.push_back({Act::remove, node.prefix});
            }
            if (node.partition) {
                steps.push_back({Act::dissolve, node.prefix});
                steps.push_back({Act::dissolveLater, node.prefix});
            } else if (node.pending != 0) {
                steps.push_back({Act::complete, node.prefix});
            }
        }
        return steps;
    }

    static U32 count(Model const& model, bool Record::*role) {
        return static_cast<U32>(std::ranges::count(model.nodes(), true, role));
    }

    void addInsertions(Model const& model, std::vector<Step>& steps) const {
        bool const room = count(model, &Record::route) < mostRoutes;
        bool const roomForPartition = count(model, &Record::partition) < mostPartitions;
        for (Prefix const& prefix : prefixes_) {
            Node const* const node = model.find(prefix);
            bool const asRoute = room && (node == nullptr || !node->route);
            bool const asPartition = roomForPartition && (node == nullptr || !node->partition);
            for (bool const from : {false, true}) {
                if (from && model.partitionOf(prefix) == nullptr) {
                    continue;
                }
                if (asRoute) {
                    steps.push_back({Act::insert, prefix, true, false, from});
                }
                if (asPartition) {
                    steps.push_back({Act::insert, prefix, false, true, from});
                }
                // From a partition node, both at once would have to share that partition's id.
                if (asRoute && asPartition && !from) {
                    steps.push_back({Act::insert, prefix, true, true, false});
                }
            }
        }
    }

    static U32 worldOf(Model const& model) {
        U32 world = 0;
        for (Node const& node : model.nodes()) {
            world |= (node.route ? 1U : 0U) << numberOf(node.prefix);
            world |= (node.partition ? 1U : 0U) << (15 + numberOf(node.prefix));
        }
        return world;
    }

    /** All that a node carries; links and counters follow from it. */
    static std::string nameOf(Model const& model, bool inserting) {
        std::string name(1, inserting ? 'i' : 'r');
        for (Node const& node : model.nodes()) {
            for (unsigned const part : {numberOf(node.prefix), node.label, node.table, node.pending,
                                        (node.route ? 1U : 0U) | (node.partition ? 2U : 0U)}) {
                name += static_cast<char>(part);
            }
        }
        return name;
    }

    std::vector<Prefix> const prefixes_ = allPrefixes();
    std::unordered_set<std::string> seen_;
    std::unordered_set<U32> worlds_;
    std::vector<State> states_;
    std::string disagreement_;
};

/** How many sets of at most `most` of the 15 prefixes there are. */
std::size_t sets(std::size_t most) {
    std::size_t const prefixes = allPrefixes().size();
    std::size_t count = 1;
    std::size_t ofThisSize = 1;
    for (std::size_t size = 1; size <= most; ++size) {
        ofThisSize = ofThisSize * (prefixes - size + 1) / size;
        count += ofThisSize;
    }
    return count;
}

using SmallWorldsTest = TestSupport::LeakCheck;

TEST_F(SmallWorldsTest, everyOrderOfInsertionAndRemovalIsAsTheModelSays) {
    Orders orders;
    orders.run();
    EXPECT_EQ(orders.disagreement(), "");
    EXPECT_EQ(orders.worlds() + 1, sets(mostRoutes) * sets(mostPartitions));
}

}  // namespace
}  // namespace TrieModel
