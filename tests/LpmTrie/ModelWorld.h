#pragma once

#include <tests/LpmTrie/Model.h>
#include <tests/LpmTrie/ModelTrie.h>

#include <string>
#include <vector>

namespace TrieModel {

/**
 * A trie and the model side by side. Each step does the same to both, through the trie's own
 * operations, and then compares all there is to compare: what they return, the whole state, the
 * reports, nodes made and freed, partition numbers in use; and has the trie verify itself. Steps
 * must be legal and leave a trie that verifies. All is in one hardware table.
 */
class World {
public:
    static constexpr U32 table = 7;

    /** The trie is built node by node to be what the model says. */
    explicit World(Nimbal::AddressFamily af, Model model = {});
    World(World const&) = delete;
    World& operator=(World const&) = delete;
    ~World();

    Model const& model() const { return model_; }
    unsigned maxLen() const { return Nimbal::maxPrefixLen(trie_->af()); }
    /** Names an id object that is yet to be made. */
    Label freshLabel() { return ++lastLabel_; }
    /** The first thing in which trie and model differed; empty while they agree. */
    std::string const& disagreement() const { return disagreement_; }
    /** Steps done so far. */
    std::uint64_t steps() const { return steps_; }
    std::string text(Prefix const& prefix) const { return ip(prefix).stringValue(); }

    // Steps. `collect`: moves are reported into a collection, else to the hook.

    void insert(Prefix const& prefix, MaybePrefix const& start, bool route, bool partition,
                Label label);
    void remove(Prefix const& prefix);
    void removeNode(Prefix const& prefix);
    void cut(Prefix const& prefix, Label label, bool collect);
    void dissolve(Prefix const& prefix, bool takeRoute, bool later, bool collect);
    void mergePartition(Prefix const& from, Prefix const& to, Label label, bool createNewPartition,
                        bool collect);
    void pendingIs(Prefix const& prefix, unsigned pending);
    void complete(Prefix const& prefix);

    // Questions, asked of both and compared. Each gives the model's answer.

    void lookUp(Prefix const& prefix);
    /** An insertion that would stop the process is known as one. */
    void askRefusal(Prefix const& prefix, bool route, bool partition);
    MaybePrefix findSplit(Prefix const& source, U32 splitCount, bool disallowSplitOnParent);
    FoundMerge findMergeToNode(Prefix const& candidate, Prefix const& source, U32 most);
    FoundMerge findRedistribution(Prefix const& source, U32 most, bool toSource);
    Found findParentToMerge(Prefix const& source, U32 most);

    /** Whether all has gone: no node, no partition number in use. */
    bool gone() const {
        return model_.empty() && trie_->root() == nullptr && bitmap_->count() == 0;
    }

private:
    Nimbal::IpGenPrefix ip(Prefix const& prefix) const { return ipPrefix(trie_->af(), prefix); }
    LpmTrie::Node* nodeAt(Prefix const& prefix) const;
    LpmTrie::PartitionId::Ptr id(Label label);
    Label labelOf(LpmTrie::PartitionId const* id) const;

    void startPartition(LpmTrie::Node* node, Label label, LpmTrie::TrieNodesInfo::Ptr const& moved);
    void fold(LpmTrie::Node* node, bool later, LpmTrie::TrieNodesInfo::Ptr const& moved);
    void compare(Reports const& expected, LpmTrie::TrieNodesInfo::Ptr const& moved,
                 MaybePrefix const& inserted = {});
    void compareReports(Reports expected, Reports const& hooked,
                        LpmTrie::TrieNodesInfo::Ptr const& moved);
    void compareWithLabels(Reports told, MaybePrefix const& inserted);
    Reports hookReports(std::vector<RecordingTrie::Move> const& moves) const;
    Reports collectedReports(LpmTrie::TrieNodesInfo const& moved);
    void compareState();
    void compareNode(LpmTrie::Node const& node, Node const& expected);
    void compareLinks(std::vector<LpmTrie::Node*> const& nodes);
    void forgetDeadIds();

    Found found(LpmTrie::TrieReturnCode const& code) const;
    FoundMerge found(LpmTrie::TrieFindMergeReturnCode const& code) const;
    Removed removed(LpmTrie::TrieNodeReturnCode const& code) const;

    std::string show(bool flag) const { return flag ? "yes" : "no"; }
    std::string show(U32 number) const { return std::to_string(number); }
    std::string show(std::string const& text) const { return text; }
    std::string show(MaybePrefix const& prefix) const { return prefix ? text(*prefix) : "none"; }
    std::string show(Found const& found) const;
    std::string show(FoundMerge const& found) const;
    std::string show(Removed const& removed) const;
    std::string show(Report const& report) const;
    std::string show(Record const& record) const;
    template <class T>
    std::string show(std::vector<T> const& all) const {
        std::string shown = std::to_string(all.size()) + ":";
        for (T const& one : all) {
            shown += " " + show(one);
        }
        return shown;
    }
    /** What is compared, put into words only when it differs. */
    struct Subject {
        Subject(char const* name) : what(name) {}
        Subject(char const* name, Prefix const& prefix) : what(name), of(prefix) {}
        char const* what;
        MaybePrefix of;
    };
    template <class T>
    void agree(Subject const& subject, T const& trie, T const& model) {
        if (disagreement_.empty() && !(trie == model)) {
            disagreement_ = subject.what + (subject.of ? " " + text(*subject.of) : "") +
                            "\n  trie:  " + show(trie) + "\n  model: " + show(model);
        }
    }

    Torvel::Bitmap::Ptr const bitmap_ = Torvel::Bitmap::BitmapIs();
    Vexo::Ptr<RecordingTrie> const trie_;
    Model model_;
    std::vector<Node> before_;  // the last step
    /** By their place in the bitmap, those that nodes hold. Not counted here. */
    struct KnownId {
        Label label = 0;
        LpmTrie::PartitionId* object = nullptr;
    };
    std::vector<KnownId> ids_;
    Label lastLabel_ = 0;
    std::uint64_t steps_ = 0;
    std::string disagreement_;
};

}  // namespace TrieModel
