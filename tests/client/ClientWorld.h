#pragma once

#include <client/PartitionManager.h>

#include <tests/client/Space.h>
#include <tests/client/WatchedChip.h>

#include <memory>

namespace ClientTest {

using LpmClient::ChipSize;
using LpmClient::Outcome;
using LpmClient::PartitionManager;
using LpmClient::SimulatedChip;
using LpmClient::WriteStatus;

/** One update. */
inline Outcome giveTo(PartitionManager& manager, Update const& update) {
    return update.nextHop ? manager.announce({update.prefix, *update.nextHop})
                          : manager.withdraw(update.prefix);
}

/**
 * A chip, a manager and what the table should be, with every address of a space looked up after
 * every single write.
 */
class ClientWorld {
public:
    static constexpr U32 vrfId = 5;

    ClientWorld(Space const& space, std::string policy, ChipSize const& size);

    /**
     * One update. Each address must give, after each write, the answer from before or the one
     * after; and unless the update is refused, not the one from before again once it has given the
     * other. Keeps `table` up to date with what the outcome says.
     */
    Outcome update(Update const& update);
    /** Whole table into an empty one: each address gets its answer in the table, or none yet. */
    Outcome download(std::vector<Route> const& routes);
    /** Calls `work`, which may change no answer, at no write. */
    template <class Work>
    auto quietly(Work const& work) {
        expectAnswers(table, table);
        return work();
    }
    /** The answers that may be given from now on: those of one table or the other. */
    void expectAnswers(Table const& before, Table const& after);

    /** The routes that the trie holds. */
    Table heldByTrie();
    /** After an update that may have happened or not: `table` is the one that the trie holds. */
    void tableIsOneOf(Table const& before, Table const& after);
    /** Chip, trie, manager and bitmap agree with each other and with `table`. */
    void check();
    /** The chip's answers are those of `table`. */
    void checkAnswers();
    /** Every partition with its root, bucket, covering route and routes, as the chip has it. */
    std::string state() const;

    PartitionManager& manager() { return *manager_; }
    Torvel::Bitmap& numbers() const { return *numbers_; }
    /** A new manager with a new bitmap: what a process that starts has. */
    void newManager(std::unique_ptr<LpmClient::Policy> ownPolicy = nullptr);
    void dropManager();
    /** A wrong answer was seen. */
    bool failed() const noexcept { return failed_; }
    /** Whether answers are looked up after each write. */
    void watch(bool on) noexcept { watching_ = on; }

    Table table;
    SimulatedChip chip;
    WatchedChip watched{chip};

private:
    void look(LpmClient::Write const& write);
    void checkTrie();
    void checkBuckets();

    Space const& space_;
    std::string policy_;
    Torvel::Bitmap::Ptr numbers_;
    std::unique_ptr<PartitionManager> manager_;
    Answers before_;
    Answers after_;
    std::vector<bool> changed_;
    std::string updateText_;
    std::string stateBefore_;
    std::vector<LpmClient::Write> writes_;  // of the update in hand
    bool turnedBack_ = false;
    bool failed_ = false;
    bool watching_ = true;
};

}  // namespace ClientTest
