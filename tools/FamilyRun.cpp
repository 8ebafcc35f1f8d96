#include <tools/FamilyRun.h>

#include <client/Window.h>
#include <tools/AnswerChecker.h>
#include <tools/Progress.h>
#include <tools/Texts.h>

#include <chrono>
#include <sstream>

namespace LpmTools {

using LpmClient::Outcome;
using LpmClient::Route;

namespace {

constexpr U64 tableSamples = 10;
constexpr U64 updateSamples = 100;
constexpr U64 updateOptima = 10;  // a pass over all nodes each
constexpr std::size_t troublesTold = 5;

bool isDone(Outcome outcome) noexcept {
    return outcome == Outcome::done || outcome == Outcome::unchanged;
}

/** Adds to `sum` what has come to `before` until `after`. */
void addDifference(LpmClient::WriteCounts& sum, LpmClient::WriteCounts const& before,
                   LpmClient::WriteCounts const& after) {
    for (std::size_t kind = 0; kind < LpmClient::writeKinds; ++kind) {
        sum.done[kind] += after.done[kind] - before.done[kind];
        sum.refused[kind] += after.refused[kind] - before.refused[kind];
    }
}

}  // namespace

FamilyRun::FamilyRun(LpmClient::SimulatedChip& chip, Torvel::Bitmap::Ptr const& numbers,
                     LpmClient::ManagerOptions const& options, bool wantsOptimum)
    : chip_(chip), manager_(chip, numbers, options), wantsOptimum_(wantsOptimum) {
    plan_.af = options.af;
}

/** Does something in the manager; the time and the chip's writes meanwhile are this family's. */
template <class Action>
auto FamilyRun::timed(Action const& action) {
    auto const before = chip_.counts();
    auto const start = std::chrono::steady_clock::now();
    auto const result = action();
    std::chrono::duration<double> const time = std::chrono::steady_clock::now() - start;
    plan_.seconds += time.count();
    addDifference(plan_.writes, before, chip_.counts());
    return result;
}

bool FamilyRun::download(std::vector<Route> const& routes) {
    if (!isDone(timed([&] { return manager_.download(routes); }))) {
        return false;
    }
    plan_.tableRoutes = routes.size();
    plan_.downloaded = true;
    for (Route const& route : routes) {
        right_.announce(route);
    }
    if (!routes.empty()) {
        sample(true);
    }
    return true;
}

void FamilyRun::takeOneByOne(std::vector<Route> const& routes) {
    plan_.tableRoutes = routes.size();
    EvenSteps const samples(routes.size(), tableSamples);
    Progress progress(familyCode(plan_.af) + ": table", routes.size());
    for (std::size_t i = 0; i < routes.size(); ++i) {
        apply({routes[i], RouteChange::added});
        if (samples.contains(i + 1)) {
            sample(true);
        }
        progress.step();
    }
    retry();
}

void FamilyRun::apply(RouteEvent const& event) {
    ++updates_;
    if (event.change == RouteChange::none) {
        return;
    }
    bool const isGone = event.change == RouteChange::removed;
    auto const outcome = timed([&] {
        return isGone ? manager_.withdraw(event.route.prefix) : manager_.announce(event.route);
    });
    if (!isDone(outcome)) {
        return;
    }
    if (isGone) {
        right_.withdraw(event.route.prefix);
    } else {
        right_.announce(event.route);
    }
}

void FamilyRun::expectUpdates(U64 total) {
    begun_ = updates_;
    sampleEvery_ = partOf(total, updateSamples);
    optimumEvery_ = sampleEvery_ * partOf(partOf(total, sampleEvery_), updateOptima);
    if (plan_.samples.empty()) {
        sample(true);
    }
}

void FamilyRun::take(RouteEvent const& event) {
    apply(event);
    U64 const done = updates_ - begun_;
    if (done > updateOptima * optimumEvery_) {
        optimumEvery_ *= 2;
    }
    if (done > updateSamples * sampleEvery_) {
        sampleEvery_ *= 2;
        thinSamples();
    }
    if (done % sampleEvery_ == 0) {
        sample(done % optimumEvery_ == 0);
    }
}

/** Of those since the updates began, leaves the ones that fall on steps. */
void FamilyRun::thinSamples() {
    std::erase_if(plan_.samples, [&](PlanSample const& sample) {
        return sample.update > begun_ && (sample.update - begun_) % sampleEvery_ != 0;
    });
}

void FamilyRun::endUpdates() {
    if (!plan_.samples.empty() && plan_.samples.back().update != updates_) {
        sample(true);
    }
    retry();
}

void FamilyRun::retry() {
    if (manager_.settled()) {
        return;
    }
    auto const before = manager_.owed();
    timed([&] { return manager_.retry(); });
    for (auto const& [prefix, nextHop] : before) {
        if (manager_.owed().contains(prefix)) {
            continue;
        }
        if (nextHop) {
            right_.announce({prefix, *nextHop});
        } else {
            right_.withdraw(prefix);
        }
    }
}

void FamilyRun::checkAnswers(U64 random, Xoshiro& numbers) {
    U64 const before = plan_.answers.addresses;
    LpmTools::checkAnswers(chip_, plan_.af, right_, random, numbers, plan_.answers);
    plan_.answers.rounds.push_back({updates_, manager_.routes(), plan_.answers.addresses - before});
}

void FamilyRun::sample(bool withOptimum) {
    PlanSample sample;
    sample.update = updates_;
    sample.routes = manager_.routes();
    sample.buckets = manager_.buckets();
    sample.fill = ratio(sample.routes, sample.buckets * manager_.bucketRoutes());
    sample.writes = plan_.writes.total();
    sample.moves = manager_.counts().moves;
    if (wantsOptimum_ && withOptimum) {
        sample.optimum = LpmClient::fewestPieces(manager_.trie(), manager_.bucketRoutes());
    }
    plan_.samples.push_back(sample);
}

void FamilyRun::countBuckets() {
    plan_.fillHistogram = {};
    for (auto const& [prefix, root] : manager_.roots()) {
        U64 const routes = root->partitionRouteCount();
        // The bound belongs to the twentieth below it: 5 of 100 is "0 to 5 %".
        U64 const bar = routes == 0 ? 0 : (routes * 20 - 1) / manager_.bucketRoutes();
        ++plan_.fillHistogram.at(bar);
    }
}

void FamilyRun::countDepths() {
    plan_.depths.clear();
    auto& trie = manager_.trie();
    auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
    while (step.node() != nullptr) {
        if (step.node()->fibRoute()) {
            plan_.depths.resize(std::max(plan_.depths.size(), std::size_t{step.level} + 1));
            ++plan_.depths[step.level];
        }
        step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
}

FamilyPlan FamilyRun::finish() {
    manager_.trie().verify();
    differences_ = manager_.audit();
    plan_.routes = manager_.routes();
    plan_.buckets = manager_.buckets();
    plan_.fill = ratio(plan_.routes, plan_.buckets * manager_.bucketRoutes());
    if (wantsOptimum_) {
        plan_.optimum = LpmClient::fewestPieces(manager_.trie(), manager_.bucketRoutes());
    }
    countBuckets();
    countDepths();
    plan_.lengths = right_.lengths();
    plan_.counts = manager_.counts();
    plan_.owed = manager_.owed().size();
    plan_.differences = differences_.size();
    return plan_;
}

std::vector<std::string> FamilyRun::troubles() const {
    std::vector<std::string> troubles;
    std::string const family = familyCode(plan_.af) + ": ";
    if (plan_.answers.wrong > 0) {
        troubles.push_back(family + grouped(plan_.answers.wrong) +
                           " wrong answers, the first one: " + plan_.answers.firstWrong);
    }
    for (std::size_t i = 0; i < std::min(differences_.size(), troublesTold); ++i) {
        std::ostringstream text;
        text << family << differences_[i];
        troubles.push_back(text.str());
    }
    if (!manager_.owed().empty()) {
        std::string text = family + grouped(manager_.owed().size()) +
                           " updates are owed for want of room or refused:";
        std::size_t told = 0;
        for (auto const& [prefix, nextHop] : manager_.owed()) {
            if (told++ == troublesTold) {
                text += " ...";
                break;
            }
            text += (nextHop ? " + " : " - ") + prefix.stringValue();
        }
        troubles.push_back(text);
    }
    return troubles;
}

}  // namespace LpmTools
