#include <client/HalvingPolicy.h>
#include <client/WindowPolicy.h>

#include <array>
#include <stdexcept>

namespace LpmClient {

Policy::~Policy() = default;

std::vector<PolicyDescription> const& policies() {
    static std::vector<PolicyDescription> const all{
        {"window", "cuts up to four neighbouring partitions anew; the best all-round one"},
        {"window-tight", "the same with wider windows: fewer buckets for more moved routes"},
        {"window-calm", "the same with narrower windows: fewer moved routes for more buckets"},
        {"redistribute", "splits in half unless a nested partition can take a part in"},
        {"half", "splits in half, whatever lies around"}};
    return all;
}

std::unique_ptr<Policy> makePolicy(std::string_view name) {
    WindowWeights weights;
    if (name == "window") {
        return std::make_unique<WindowPolicy>(weights);
    }
    if (name == "window-tight") {
        weights.pieces = 5;
        weights.slack = 65;
        return std::make_unique<WindowPolicy>(weights);
    }
    if (name == "window-calm") {
        weights.pieces = 2;
        weights.slack = 150;
        return std::make_unique<WindowPolicy>(weights);
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
