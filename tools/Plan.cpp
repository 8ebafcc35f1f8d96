#include <tools/Plan.h>

#include <algorithm>
#include <utility>

namespace LpmTools {

using LpmClient::Route;
using Nimbal::AddressFamily;

namespace {

constexpr std::array families{AddressFamily::ipv4, AddressFamily::ipv6};

std::size_t indexOf(AddressFamily af) noexcept {
    return af == AddressFamily::ipv6 ? 1 : 0;
}

}  // namespace

void giveBucketsEnough(PlanOptions& options, U64 routes) noexcept {
    // A bucket for each route, one for the root of each family, and as many again for recuts.
    U64 const most = std::min(2 * (routes + 2), U64{~U32{0}});
    options.buckets = std::max(options.buckets, static_cast<U32>(most));
    options.bindings = std::max(options.bindings, static_cast<U32>(most));
}

Plan::Plan(PlanOptions const& options)
    : options_(options),
      chip_({options.buckets, options.bucketRoutes, options.bindings}),
      numbers_(Torvel::Bitmap::BitmapIs(options.buckets)),
      random_(options.seed),
      start_(options.oneByOne ? "one by one" : "download") {
    if (!options.policy.empty()) {
        LpmClient::makePolicy(options.policy);  // tells now of one that there is not
    }
}

FamilyRun& Plan::family(AddressFamily af) {
    auto& run = families_[indexOf(af)];
    if (!run) {
        LpmClient::ManagerOptions options;
        options.af = af;
        options.policy = options_.policy;
        run = std::make_unique<FamilyRun>(chip_, numbers_, options, options_.optimum);
    }
    return *run;
}

void Plan::takeTable(std::vector<Route> const& routes) {
    for (AddressFamily const af : families) {
        std::vector<Route> own;
        for (Route const& route : routes) {
            if (route.prefix.af() == af) {
                own.push_back(route);
            }
        }
        if (!own.empty()) {
            takeTable(af, own);
        }
    }
}

void Plan::takeTable(AddressFamily af, std::vector<Route> const& routes) {
    FamilyRun& run = family(af);
    if (!options_.oneByOne) {
        if (run.download(routes)) {
            return;
        }
        start_ = "download; one by one where there was no room for all";
    }
    run.takeOneByOne(routes);
}

void Plan::beginUpdates() {
    constexpr U64 firstCheck = 1000;
    beginUpdates({});
    checkAt_ = firstCheck;
}

void Plan::beginUpdates(std::array<U64, 2> const& totals) {
    check();
    totals_ = totals;
    isUpdated_ = {};
    taken_ = 0;
    U64 const total = totals[0] + totals[1];
    checkAt_ = total / 2;
    progress_.emplace("updates", total);
}

void Plan::takeUpdate(RouteEvent const& event) {
    if (taken_++ == checkAt_) {
        check();
        checkAt_ *= 10;
    }
    std::size_t const index = indexOf(event.route.prefix.af());
    FamilyRun& run = family(event.route.prefix.af());
    if (!std::exchange(isUpdated_[index], true)) {
        run.expectUpdates(totals_[index]);
    }
    run.take(event);
    progress_->step();
}

void Plan::endUpdates() {
    progress_.reset();
    if (taken_ == 0) {
        return;
    }
    for (auto const& run : families_) {
        if (run) {
            run->endUpdates();
        }
    }
    check();
}

void Plan::takeUpdates(std::vector<RouteEvent> const& events) {
    std::array<U64, 2> totals{};
    for (RouteEvent const& event : events) {
        ++totals[indexOf(event.route.prefix.af())];
    }
    beginUpdates(totals);
    for (RouteEvent const& event : events) {
        takeUpdate(event);
    }
    endUpdates();
}

void Plan::check() {
    for (auto const& run : families_) {
        if (run && options_.checksAnswers) {
            run->checkAnswers(options_.checkedAddresses, random_);
        }
    }
}

void Plan::finish(PlanReport& report) {
    report.policy =
        options_.policy.empty() ? std::string(LpmClient::policies().front().name) : options_.policy;
    report.start = start_;
    report.seed = options_.seed;
    report.bucketRoutes = options_.bucketRoutes;
    report.bucketLimit = options_.buckets;
    report.bucketsUsed = chip_.bucketsUsed();
    report.families.clear();
    for (auto const& run : families_) {
        if (run) {
            report.families.push_back(run->finish());
        }
    }
}

LpmClient::PartitionManager* Plan::manager(AddressFamily af) noexcept {
    auto const& run = families_[indexOf(af)];
    return run ? &run->manager() : nullptr;
}

std::vector<LpmClient::PartitionManager*> Plan::managers() {
    std::vector<LpmClient::PartitionManager*> managers;
    for (auto const& run : families_) {
        if (run) {
            managers.push_back(&run->manager());
        }
    }
    return managers;
}

std::vector<std::string> Plan::troubles() const {
    std::vector<std::string> troubles;
    for (auto const& run : families_) {
        if (run) {
            auto const own = run->troubles();
            troubles.insert(troubles.end(), own.begin(), own.end());
        }
    }
    return troubles;
}

bool allRight(PlanReport const& report) noexcept {
    return std::ranges::all_of(report.inputs,
                               [](InputReport const& input) { return input.error.empty(); }) &&
           std::ranges::all_of(report.families, [](FamilyPlan const& plan) {
               return plan.answers.wrong == 0 && plan.differences == 0 && plan.owed == 0;
           });
}

}  // namespace LpmTools
