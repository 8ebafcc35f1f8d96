/*
 * Each repetition of each peer runs in a process of its own, so that none finds the memory as
 * another has left it, and peers take turns, so that a change of the machine's mood meets all of
 * them alike. A process first builds the table and takes it down again without being timed: pages
 * are then in place for all, as they are from the start for those that reserve them beforehand.
 */

#include <tools/Xoshiro.h>
#include <benchmarks/Clock.h>
#include <benchmarks/Machine.h>
#include <benchmarks/Measurement.h>
#include <benchmarks/OwnProcess.h>

#include <malloc.h>
#include <sys/prctl.h>

#include <algorithm>
#include <fstream>

namespace LpmBenchmarks {

namespace {

/** What a process sends to the one that started it. */
struct Sample {
    Figures figures{};
    Answers answers;
    U64 routesWalked = 0;
    U64 changes = 0;
};

double residentBytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/** The works on one table, one after the other. */
class Session {
public:
    Session(Input const& input, Peer const& peer, Pages pages)
        : input_(input), residentBefore_(residentBytes()), table_(peer.make(input, pages)) {
        sample_.figures.fill(-1);
    }

    Sample run(bool growthOnly) {
        std::vector<IpGenPrefix> const backwards(input_.ordered.rbegin(), input_.ordered.rend());
        table_->insert(input_.ordered);
        table_->remove(backwards);
        if (!growthOnly) {
            time(Work::buildOrdered, routes(), [&] { table_->insert(input_.ordered); });
            table_->remove(backwards);
        }
        time(Work::buildRandom, routes(), [&] { table_->insert(input_.routes); });
        countBytes();
        U64 found = 0;
        time(Work::find, input_.queries.size(), [&] { found = table_->find(input_.queries); });
        sample_.answers = table_->answers(input_.queries);
        sample_.changes = found;
        if (!growthOnly) {
            workOnFull();
        }
        time(Work::remove, input_.leaving.size(), [&] { table_->remove(input_.leaving); });
        return sample_;
    }

private:
    std::size_t routes() const { return input_.routes.size(); }
    template <class Action>
    void time(Work work, std::size_t steps, Action const& action) {
        if (steps != 0) {
            figure(work) = timeEach(steps, action);
        }
    }
    double& figure(Work work) { return sample_.figures.at(static_cast<std::size_t>(work)); }

    void countBytes() {
        auto const count = static_cast<double>(routes());
        double const ours = count * sizeof(IpGenPrefix);  // the routes' list backwards
        figure(Work::residentBytes) = (residentBytes() - residentBefore_ - ours) / count;
        figure(Work::trackedBytes) = static_cast<double>(table_->bytes()) / count;
    }

    void workOnFull() {
        U64 found = 0;
        time(Work::findTogether, input_.queries.size(),
             [&] { found = table_->findTogether(input_.queries); });
        time(Work::findOwn, input_.leaving.size(), [&] { found += table_->find(input_.leaving); });
        time(Work::walk, routes(), [&] { sample_.routesWalked = table_->walk(); });
        sample_.changes += found;
        time(Work::replay, input_.updates.size(),
             [&] { sample_.changes += table_->replay(input_.updates); });
        time(Work::replayStream, input_.stream.size(),
             [&] { sample_.changes += table_->replay(input_.stream); });
        bool verified = false;
        time(Work::verify, routes(), [&] { verified = table_->verify(); });
        if (!verified) {
            figure(Work::verify) = -1;
        }
        if (sample_.routesWalked == 0) {
            figure(Work::walk) = -1;
        }
    }

    Input const& input_;
    double const residentBefore_;
    std::unique_ptr<Table> const table_;
    Sample sample_;
};

void expectAlike(Sample const& first, Sample const& other, std::string const& name) {
    bool const walked = other.routesWalked == 0 || other.routesWalked == first.routesWalked;
    if (!(first.answers == other.answers) || first.changes != other.changes || !walked) {
        throw std::runtime_error(name + " does not answer as the first table does");
    }
}

}  // namespace

void usePages(Pages pages) {
    if (pages == Pages::small) {
        prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    std::size_t const middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

char const* nameOf(Work work) noexcept {
    constexpr std::array<char const*, workCount> names{"build, random order",
                                                       "build, address order",
                                                       "look-up, random covered addresses",
                                                       "look-up, the same, many at once",
                                                       "look-up, own prefixes",
                                                       "walk in order",
                                                       "replay of generated updates, an update",
                                                       "replay of recorded updates, an update",
                                                       "verify",
                                                       "remove, random order",
                                                       "resident bytes",
                                                       "bytes of objects"};
    return names.at(static_cast<std::size_t>(work));
}

std::vector<Peer> peersNamed(std::vector<std::string> const& names) {
    std::vector<Peer> all{
        {"LpmTrie", [](Input const& input, Pages) { return libraryTable(input.af); }},
        {"LpmTrie in partitions",
         [](Input const& input, Pages) { return partitionedTable(input.af); }},
#ifdef LPMTRIE_WITH_RTE_RIB
        {"rte_rib",
         [](Input const& input, Pages pages) {
             auto const nodes = (input.routes.size() + input.newRoutes) * 2 + 1024;
             return rteRibTable(input.af, static_cast<U32>(nodes), pages);
         }},
#endif
        {"std::map", [](Input const& input, Pages) { return mapTable(input.af); }},
        {"hash a length", [](Input const& input, Pages) { return hashTable(input.af); }},
    };
    if (!names.empty()) {
        std::erase_if(all, [&](Peer const& peer) {
            return std::find(names.begin(), names.end(), peer.name) == names.end();
        });
    }
    return all;
}

std::vector<PeerFigures> measure(Input const& input, std::vector<Peer> const& peers, Effort effort,
                                 Pages pages) {
    std::vector<std::array<std::vector<double>, workCount>> samples(peers.size());
    Sample first;
    LpmTools::Xoshiro placement(1);
    for (U32 repetition = 0; repetition < effort.repetitions; ++repetition) {
        for (std::size_t i = 0; i < peers.size(); ++i) {
            U64 const skipped = Ballast::most() / 1000 * placement.below(1000);
            Sample const sample = inOwnProcess(peers[i].name, [&] {
                Ballast const ballast(skipped);
                usePages(pages);
                malloc_trim(0);  // what this process has inherited free would not count as taken
                return Session(input, peers[i], pages).run(effort.growthOnly);
            });
            first = repetition == 0 && i == 0 ? sample : first;
            expectAlike(first, sample, peers[i].name);
            for (std::size_t work = 0; work < workCount; ++work) {
                samples[i].at(work).push_back(sample.figures.at(work));
            }
        }
    }
    std::vector<PeerFigures> figures;
    for (std::size_t i = 0; i < peers.size(); ++i) {
        PeerFigures& of = figures.emplace_back(PeerFigures{peers[i].name, {}});
        for (std::size_t work = 0; work < workCount; ++work) {
            of.medians.at(work) = median(samples[i].at(work));
        }
    }
    return figures;
}

}  // namespace LpmBenchmarks
