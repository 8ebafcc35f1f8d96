#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace ClientTest {

using LpmClient::Bucket;
using LpmClient::bucketOf;
using LpmClient::Write;

namespace {

std::string text(std::optional<Route> const& route) {
    std::ostringstream out;
    if (route) {
        out << *route;
    } else {
        out << "no route";
    }
    return out.str();
}

std::string lines(std::vector<Write> const& writes) {
    std::ostringstream out;
    for (Write const& write : writes) {
        out << "    " << write << '\n';
    }
    return out.str();
}

std::vector<Route> sorted(std::vector<Route> routes) {
    std::sort(routes.begin(), routes.end(),
              [](Route const& a, Route const& b) { return a.prefix < b.prefix; });
    return routes;
}

}  // namespace

ClientWorld::ClientWorld(Space const& space, std::string policy, ChipSize const& size)
    : chip(size), space_(space), policy_(std::move(policy)) {
    watched.written = [this](Write const& write) { look(write); };
    newManager();
    expectAnswers(table, table);
}

void ClientWorld::newManager(std::unique_ptr<LpmClient::Policy> ownPolicy) {
    dropManager();
    numbers_ = Torvel::Bitmap::BitmapIs(chip.bucketLimit());
    LpmClient::ManagerOptions options;
    options.vrfId = vrfId;
    options.af = space_.af();
    options.policy = policy_;
    manager_ = ownPolicy ? std::make_unique<PartitionManager>(watched, numbers_, options,
                                                              std::move(ownPolicy))
                         : std::make_unique<PartitionManager>(watched, numbers_, options);
}

void ClientWorld::dropManager() {
    manager_.reset();
}

void ClientWorld::expectAnswers(Table const& before, Table const& after) {
    before_ = space_.answers(before);
    after_ = space_.answers(after);
    changed_.assign(before_.size(), false);
    turnedBack_ = false;
    writes_.clear();
    stateBefore_ = state();
}

void ClientWorld::look(Write const& write) {
    writes_.push_back(write);
    for (std::size_t i = 0; watching_ && !failed_ && i < space_.addresses().size(); ++i) {
        auto const answer = chip.lookup(vrfId, space_.addresses()[i]).route;
        bool const isNew = answer == after_[i];
        if (!isNew && answer != before_[i]) {
            failed_ = true;
            ADD_FAILURE() << updateText_ << ", after " << write << ": " << space_.addresses()[i]
                          << " gives " << text(answer) << ", before " << text(before_[i])
                          << ", due " << text(after_[i]) << "\nThe writes:\n"
                          << lines(writes_) << "Before them:\n"
                          << stateBefore_;
        }
        turnedBack_ = turnedBack_ || (!isNew && changed_[i]);
        changed_[i] = isNew && before_[i] != after_[i];
    }
}

Outcome ClientWorld::update(Update const& update) {
    Table after = table;
    takeInto(after, update);
    if (watching_) {
        expectAnswers(table, after);
    }
    updateText_ = (update.nextHop ? "announce " : "withdraw ") + update.prefix.stringValue();
    SCOPED_TRACE(updateText_);
    Outcome const outcome = giveTo(*manager_, update);
    EXPECT_EQ(outcome == Outcome::unchanged, after == table && outcome != Outcome::refused);
    if (outcome == Outcome::done) {
        EXPECT_FALSE(turnedBack_);
        table = std::move(after);
    }
    return outcome;
}

Outcome ClientWorld::download(std::vector<Route> const& routes) {
    Table after;
    for (Route const& route : routes) {
        after[route.prefix] = route.nextHop;
    }
    expectAnswers(table, after);
    updateText_ = "download";
    Outcome const outcome = manager_->download(routes);
    if (outcome == Outcome::done) {
        EXPECT_FALSE(turnedBack_);
        table = std::move(after);
    }
    return outcome;
}

void ClientWorld::checkAnswers() {
    Answers const due = space_.answers(table);
    for (std::size_t i = 0; i < due.size(); ++i) {
        IpGenPrefix const& address = space_.addresses()[i];
        ASSERT_EQ(text(chip.lookup(vrfId, address).route), text(due[i])) << address << '\n'
                                                                         << state();
    }
}

Table ClientWorld::heldByTrie() {
    Table held;
    auto& trie = manager_->trie();
    for (auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
         step.node() != nullptr;
         step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        if (step.node()->fibRoute()) {
            Route const route = LpmClient::routeAt(step.node());
            held[route.prefix] = route.nextHop;
        }
    }
    return held;
}

void ClientWorld::tableIsOneOf(Table const& before, Table const& after) {
    table = heldByTrie();
    ASSERT_TRUE(table == before || table == after);
}

void ClientWorld::checkTrie() {
    manager_->trie().verify();
    U64 partitions = 0;
    auto& trie = manager_->trie();
    for (auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
         step.node() != nullptr;
         step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        auto const* const node = LpmClient::routeNode(step.node());
        ASSERT_EQ(node->pendingState().value(), 0U) << node->stringValue();
        if (node->fibRoute()) {
            ASSERT_EQ(node->bucket, bucketOf(node)) << node->stringValue();
        }
        if (node->partitionNode()) {
            ++partitions;
            ASSERT_TRUE(manager_->roots().contains(node->prefixRef()->prefix()));
            ASSERT_LE(node->partitionRouteCount(), manager_->bucketRoutes());
        }
    }
    ASSERT_EQ(heldByTrie(), table);
    ASSERT_EQ(manager_->routes(), table.size());
    ASSERT_EQ(manager_->buckets(), partitions);
}

// Each root bound to a bucket of its own, each route in one bucket once, and nothing else.
void ClientWorld::checkBuckets() {
    std::map<IpGenPrefix, Bucket> due;
    for (auto const& [prefix, node] : manager_->roots()) {
        due[prefix] = bucketOf(node);
    }
    std::map<IpGenPrefix, Bucket> bound;
    std::set<Bucket> buckets;
    Table found;
    U64 routes = 0;
    for (auto const& binding : chip.bindings(vrfId, space_.af())) {
        bound[binding.prefix] = binding.bucket;
        ASSERT_TRUE(buckets.insert(binding.bucket).second) << binding.bucket;
        auto const contents = chip.contents(binding.bucket);
        ASSERT_TRUE(contents && contents->routes.size() <= manager_->bucketRoutes());
        for (Route const& route : contents->routes) {
            found[route.prefix] = route.nextHop;
            ++routes;
        }
        ASSERT_TRUE(numbers_->isSet(binding.bucket));
    }
    ASSERT_EQ(bound, due);
    ASSERT_EQ(found, table);
    ASSERT_EQ(routes, table.size());
    ASSERT_EQ(chip.buckets(vrfId, space_.af()).size(), bound.size());
    ASSERT_EQ(chip.bucketsUsed(), bound.size());
    ASSERT_EQ(chip.bindingsUsed(), bound.size());
    ASSERT_EQ(numbers_->count(), bound.size());
}

void ClientWorld::check() {
    ASSERT_NO_FATAL_FAILURE(checkAnswers());
    ASSERT_NO_FATAL_FAILURE(checkTrie());
    ASSERT_NO_FATAL_FAILURE(checkBuckets());
    auto const differences = manager_->audit();
    ASSERT_TRUE(differences.empty()) << differences.front();
}

std::string ClientWorld::state() const {
    std::map<IpGenPrefix, Bucket> bound;
    for (auto const& binding : chip.bindings(vrfId, space_.af())) {
        bound[binding.prefix] = binding.bucket;
    }
    std::ostringstream out;
    for (auto const& [prefix, bucket] : bound) {
        auto const contents = chip.contents(bucket);
        out << prefix << " in " << bucket << ", else " << text(contents->cover) << '\n';
        for (Route const& route : sorted(contents->routes)) {
            out << "    " << route << '\n';
        }
    }
    return out.str();
}

}  // namespace ClientTest
