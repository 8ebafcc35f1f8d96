#pragma once

#include <LpmTrie/RouteQueries.h>
#include <LpmTrie/Trie.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

namespace LpmTrieTest {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using LpmTrie::TrieNodeInfo;
using LpmTrie::TrieNodesInfo;
using Nimbal::IpGenPrefix;
using TestSupport::TraceCapture;
using Vexo::String;
using Vexo::U32;

inline IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}

/** What a stream makes of it: of a node its text, of an id its number and references. */
template <class Value>
String streamed(Value const& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}
inline String addressText(TrieNodesInfo::Ptr const& movedNodes) {
    return streamed(static_cast<void const*>(movedNodes.get()));
}

inline PendingState pending(unsigned flags) {
    return PendingState(static_cast<unsigned char>(flags));
}

/** A new id of that number, without a bitmap. */
inline PartitionId::Ptr newId(U32 number) {
    return PartitionId::PartitionIdIs(PartitionIdValue(number), ~0U, nullptr);
}

/** What the hook was told of a move, and what the node carried at that moment. */
struct Report {
    Node* node;
    PartitionId::Ptr oldId;
    U32 oldHwTable;
    PartitionId::Ptr newId;
    U32 newHwTable;

    bool operator==(Report const&) const = default;
};
/** "10.0.0.0/8: 1/hw:1 -> 2/hw:1", with None for no id. */
inline std::ostream& operator<<(std::ostream& stream, Report const& report) {
    auto const idText = [](PartitionId::Ptr const& id) {
        return id ? streamed(id->id()) : String("None");
    };
    return stream << report.node->prefixRef()->prefix() << ": " << idText(report.oldId)
                  << "/hw:" << report.oldHwTable << " -> " << idText(report.newId)
                  << "/hw:" << report.newHwTable;
}

/** Thrown by a hook in the report with that number, 1 the first. */
struct HookFailure {
    U32 report;
};

/** Keeps what its hook is told, after the base has traced it; throws in the reports it is told to.
 */
class ReportingTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    void movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) override {
        Trie::movedNode(node, oldPartitionId, oldHwTable);
        if (!keeping) {
            return;
        }
        reports.push_back({node, oldPartitionId, oldHwTable, node->partitionId(), node->hwTable()});
        auto const number = static_cast<U32>(reports.size());
        if (failing.contains(number)) {
            throw HookFailure{number};
        }
    }

    std::vector<Report> reports;
    std::set<U32> failing;
    /** Off: reports hold no references to ids. */
    bool keeping = true;
};

/** A trie of IPv4 prefixes, empty at first, and ids that are known by their number. */
class PartitionWorld : public TestSupport::LeakCheck {
protected:
    PartitionWorld() : trie_(new ReportingTrie(1)) { trie_->afIs(Nimbal::AddressFamily::ipv4); }
    ~PartitionWorld() override { LpmTrie::removeAll(*trie_); }

    /** The id of that number, to which the world itself holds one reference; null for 0. */
    PartitionId::Ptr const& id(U32 number) {
        PartitionId::Ptr& id = ids_[number];
        if (!id && number != 0) {
            id = newId(number);
        }
        return id;
    }

    Node* insert(std::string_view text, bool fibRoute, bool partition, U32 number, U32 hwTable) {
        return trie_->insertFromRoot(prefix(text), fibRoute, partition, id(number), hwTable).node();
    }
    Node* route(std::string_view text, U32 number, U32 hwTable = 1) {
        return insert(text, true, false, number, hwTable);
    }
    Node* partition(std::string_view text, U32 number, U32 hwTable = 1) {
        return insert(text, false, true, number, hwTable);
    }
    Node* routeAndPartition(std::string_view text, U32 number, U32 hwTable = 1) {
        return insert(text, true, true, number, hwTable);
    }
    /** The node of that very prefix, of any kind; null when there is none. */
    Node* at(std::string_view text) const { return LpmTrie::findExact(*trie_, prefix(text)); }

    /** All nodes, in pre-order. */
    std::vector<Node*> nodes() const {
        std::vector<Node*> found;
        std::vector<Node*> open{trie_->root()};
        while (!open.empty()) {
            Node* const node = open.back();
            open.pop_back();
            if (node != nullptr) {
                found.push_back(node);
                open.push_back(node->bitNode(1));
                open.push_back(node->bitNode(0));
            }
        }
        return found;
    }
    /** Completes all that is pending, and forgets the reports so far. */
    void settle() {
        for (Node* const node : nodes()) {
            node->pendingStateIs(PendingState());
        }
        trie_->reports.clear();
    }
    /** Every node's text, links, whole pending state and id object. */
    std::vector<String> state() const {
        std::vector<String> lines;
        for (Node const* const node : nodes()) {
            lines.push_back(node->stringValue() + " in " + streamed(node->parent()) + " pending " +
                            streamed(U32{node->pendingState().value()}) + " id at " +
                            streamed(static_cast<void const*>(node->partitionId().get())));
        }
        return lines;
    }
    std::vector<String> reportTexts() const {
        std::vector<String> texts;
        for (Report const& report : trie_->reports) {
            texts.push_back(streamed(report));
        }
        return texts;
    }
    static Report moved(Node* node, PartitionId::Ptr const& oldId) {
        return {node, oldId, node->hwTable(), node->partitionId(), node->hwTable()};
    }
    static TrieNodeInfo record(Node* node, PartitionId::Ptr const& oldId) {
        return {node->prefixRef(), oldId, node->partitionId()};
    }

    /** "level text" for levels 7 and 8, without the entry lines of the functions named. */
    static std::vector<String> traced(TraceCapture const& capture,
                                      std::vector<String> const& without = {
                                          "preorderNextNode", "findNextRightNode",
                                          "updatePartitionRouteCount", "findPartitionNode",
                                          "getClosestFibRouteNode"}) {
        std::vector<String> lines;
        for (TestSupport::CapturedLine const& line : capture.lines()) {
            bool const leftOut =
                line.level > 8 || std::ranges::any_of(without, [&](String const& name) {
                    return line.level == 8 && line.text.find("::" + name + "(") != String::npos;
                });
            if (line.handle == "LpmTrie" && line.source == "LpmTrie/LpmTrie" && !leftOut) {
                lines.push_back(streamed(line.level) + " " + line.text);
            }
        }
        return lines;
    }

    Vexo::Ptr<ReportingTrie> trie_;

private:
    std::map<U32, PartitionId::Ptr> ids_;
};

}  // namespace LpmTrieTest
