#include <client/HalvingPolicy.h>
#include <client/WindowPolicy.h>

#include <stdexcept>

namespace LpmClient {

namespace {

/** Less than a move a route, and little time. */
WindowWeights windowWeights() {
    WindowWeights weights;
    weights.ample = {5, 40};
    weights.scarce = {3, 160};
    weights.budget = 104;
    weights.ease = 98;
    return weights;
}

WindowWeights tightWeights() {
    WindowWeights weights;
    weights.ample = {8, 20};
    weights.scarce = {5, 60};
    weights.budget = 131;
    weights.advance = 14;
    weights.ease = 98;
    weights.neighbours = 4;
    weights.prices = {150, 0, 130};
    weights.firstFit = false;
    return weights;
}

WindowWeights calmWeights() {
    WindowWeights weights;
    weights.ample = {2, 150};
    return weights;
}

}  // namespace

Policy::~Policy() = default;

std::vector<PolicyDescription> const& policies() {
    static std::vector<PolicyDescription> const all{
        {"window",
         "cuts a few neighbouring partitions anew, about a move a route; the best all-round one"},
        {"window-tight", "the same with wider windows: fewer buckets for more moved routes"},
        {"window-calm", "the same with narrower windows: fewer moved routes for more buckets"},
        {"redistribute", "splits in half unless a nested partition can take a part in"},
        {"half", "splits in half, whatever lies around"}};
    return all;
}

std::unique_ptr<Policy> makePolicy(std::string_view name) {
    if (name == "window") {
        return std::make_unique<WindowPolicy>(windowWeights());
    }
    if (name == "window-tight") {
        return std::make_unique<WindowPolicy>(tightWeights());
    }
    if (name == "window-calm") {
        return std::make_unique<WindowPolicy>(calmWeights());
    }
    if (name == "redistribute" || name == "half") {
        return std::make_unique<HalvingPolicy>(name == "redistribute");
    }
    std::string known;
    for (PolicyDescription const& policy : policies()) {
        known += (known.empty() ? "" : ", ") + std::string(policy.name);
    }
    throw std::invalid_argument("no policy is named " + std::string(name) + "; there are " + known);
}

}  // namespace LpmClient
