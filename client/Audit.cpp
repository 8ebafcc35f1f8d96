#include <client/Audit.h>
#include <client/RecutChip.h>

#include <algorithm>
#include <ostream>
#include <set>

namespace LpmClient {

using LpmTrie::Node;
using Nimbal::IpGenPrefix;

namespace {

void print(std::ostream& out, std::optional<Route> const& route) {
    if (route) {
        out << *route;
    } else {
        out << "none";
    }
}

class Auditor {
public:
    Auditor(Hardware const& hardware, Roots const& roots) : hardware_(hardware), roots_(roots) {}

    std::vector<Difference> run(U32 vrfId, Nimbal::AddressFamily af) {
        compareBindings(hardware_.bindings(vrfId, af));
        std::set<Bucket> stray;
        for (Bucket const bucket : hardware_.buckets(vrfId, af)) {
            stray.insert(bucket);
        }
        for (auto const& [prefix, root] : roots_) {
            Bucket const bucket = bucketOf(root);
            stray.erase(bucket);
            auto contents = hardware_.contents(bucket);
            if (contents) {
                compare(root, *contents);
            } else {
                add({DifferenceKind::bucketMissing, bucket, {}, {}, {}});
            }
        }
        for (Bucket const bucket : stray) {
            add({DifferenceKind::bucketStray, bucket, {}, {}, {}});
        }
        return std::move(differences_);
    }

private:
    void add(Difference const& difference) { differences_.push_back(difference); }

    void compareBindings(std::vector<Binding> const& bindings) {
        std::map<IpGenPrefix, Bucket> bound;
        for (Binding const& binding : bindings) {
            bound.emplace(binding.prefix, binding.bucket);
        }
        for (auto const& [prefix, root] : roots_) {
            auto const found = bound.find(prefix);
            if (found == bound.end()) {
                add({DifferenceKind::bindingMissing, bucketOf(root), prefix, {}, {}});
            } else {
                if (found->second != bucketOf(root)) {
                    add({DifferenceKind::bindingWrong, found->second, prefix, {}, {}});
                }
                bound.erase(found);
            }
        }
        for (auto const& [prefix, bucket] : bound) {
            add({DifferenceKind::bindingStray, bucket, prefix, {}, {}});
        }
    }

    void compare(RouteNode* root, BucketContents& contents) {
        Bucket const bucket = bucketOf(root);
        auto const byPrefix = [](Route const& a, Route const& b) { return a.prefix < b.prefix; };
        std::sort(contents.routes.begin(), contents.routes.end(), byPrefix);
        auto found = contents.routes.cbegin();
        auto const end = contents.routes.cend();
        for (RouteNode const* const node : routesOfPartition(root)) {
            Route const expected = routeAt(node);
            for (; found != end && found->prefix < expected.prefix; ++found) {
                add({DifferenceKind::routeStray, bucket, {}, {}, *found});
            }
            if (found == end || found->prefix != expected.prefix) {
                add({DifferenceKind::routeMissing, bucket, {}, expected, {}});
            } else {
                if (*found != expected) {
                    add({DifferenceKind::routeWrong, bucket, {}, expected, *found});
                }
                ++found;
            }
        }
        for (; found != end; ++found) {
            add({DifferenceKind::routeStray, bucket, {}, {}, *found});
        }
        auto const cover = coverOf(root);
        if (contents.cover != cover) {
            add({DifferenceKind::coverWrong, bucket, {}, cover, contents.cover});
        }
    }

    Hardware const& hardware_;
    Roots const& roots_;
    std::vector<Difference> differences_;
};

}  // namespace

std::ostream& operator<<(std::ostream& out, Difference const& difference) {
    out << "bucket " << difference.bucket;
    switch (difference.kind) {
    case DifferenceKind::bucketMissing:
        return out << " is not allocated";
    case DifferenceKind::bucketStray:
        return out << " serves no partition";
    case DifferenceKind::bindingMissing:
        return out << " is not bound to its prefix " << *difference.binding;
    case DifferenceKind::bindingStray:
        return out << " is bound to " << *difference.binding << ", which is no partition";
    case DifferenceKind::bindingWrong:
        return out << " is bound to " << *difference.binding << ", another partition's prefix";
    case DifferenceKind::routeMissing:
        return out << " lacks the route " << *difference.expected;
    case DifferenceKind::routeStray:
        return out << " holds a stray route " << *difference.found;
    case DifferenceKind::routeWrong:
        return out << " holds " << *difference.found << " instead of " << *difference.expected;
    case DifferenceKind::coverWrong:
        out << " has the covering route ";
        print(out, difference.found);
        out << " instead of ";
        print(out, difference.expected);
        return out;
    }
    return out;
}

std::vector<RouteNode*> routesOfPartition(RouteNode* root) {
    std::vector<RouteNode*> routes;
    Node* node = root;
    while (node != nullptr) {
        if (node->fibRoute()) {
            routes.push_back(routeNode(node));
        }
        Node* next = nullptr;
        auto const enters = [](Node const* child) {
            return child != nullptr && !child->partitionNode();
        };
        for (U32 bit = 0; next == nullptr && bit <= 1; ++bit) {
            next = enters(node->bitNode(bit)) ? node->bitNode(bit) : nullptr;
        }
        for (; next == nullptr && node != root; node = node->parent()) {
            Node* const right = node->parent()->bitNode(1);
            next = right != node && enters(right) ? right : nullptr;
        }
        node = next;
    }
    return routes;
}

std::vector<Difference> auditChip(Hardware const& hardware, U32 vrfId, Nimbal::AddressFamily af,
                                  Roots const& roots) {
    return Auditor(hardware, roots).run(vrfId, af);
}

}  // namespace LpmClient
