/*
 * Each repetition of each peer runs in a process of its own, so that none finds the memory as
 * another has left it, and peers take turns, so that a change of the machine's mood meets all of
 * them alike. A process first builds the table and takes it down again without being timed: pages
 * are then in place for all, as they are from the start for those that reserve them beforehand.
 */

#include <benchmarks/Measurement.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iostream>
#include <stdexcept>

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

/** The process's time on a processor: what others do on the machine counts less. */
double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

class Stopwatch {
public:
    Stopwatch(Figures& figures, std::size_t count)
        : figures_(figures), count_(static_cast<double>(count)) {}

    template <class Action>
    void operator()(Work work, Action const& action) {
        double const begin = processorTime();
        action();
        figures_.at(static_cast<std::size_t>(work)) = (processorTime() - begin) / count_;
    }

private:
    Figures& figures_;
    double const count_;
};

/** The works on one table, one after the other. */
Sample sampleOf(Input const& input, Peer const& peer, Pages pages) {
    Sample sample;
    sample.figures.fill(-1);
    std::size_t const count = input.routes.size();
    Stopwatch time(sample.figures, count);
    U64 sink = 0;
    double const before = residentBytes();
    auto const table = peer.make(input, pages);
    table->insert(input.ordered);
    std::vector<IpGenPrefix> const backwards(input.ordered.rbegin(), input.ordered.rend());
    table->remove(backwards);

    time(Work::buildOrdered, [&] { table->insert(input.ordered); });
    table->remove(backwards);
    time(Work::buildRandom, [&] { table->insert(input.routes); });
    auto const all = static_cast<double>(count);
    sample.figures[static_cast<std::size_t>(Work::residentBytes)] =
        (residentBytes() - before - all * sizeof(IpGenPrefix)) / all;
    sample.figures[static_cast<std::size_t>(Work::trackedBytes)] =
        static_cast<double>(table->bytes()) / all;
    time(Work::find, [&] { sink += table->find(input.queries); });
    time(Work::findOwn, [&] { sink += table->find(input.leaving); });
    time(Work::walk, [&] { sample.routesWalked = table->walk(); });
    sample.answers = table->answers(input.queries);
    time(Work::replay, [&] { sample.changes = table->replay(input.updates); });
    bool verified = false;
    time(Work::verify, [&] { verified = table->verify(); });
    if (!verified) {
        sample.figures[static_cast<std::size_t>(Work::verify)] = -1;
    }
    if (sample.routesWalked == 0) {
        sample.figures[static_cast<std::size_t>(Work::walk)] = -1;
    }
    time(Work::remove, [&] { table->remove(input.leaving); });
    sample.changes += sink == 0 ? 1U : 0U;
    return sample;
}

/** The same in a process of its own. */
Sample isolatedSample(Input const& input, Peer const& peer, Pages pages) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("pipe failed");
    }
    std::cout.flush();
    pid_t const child = fork();
    if (child == 0) {
        if (pages == Pages::small) {
            prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
        }
        int status = 1;
        try {
            Sample const sample = sampleOf(input, peer, pages);
            status = write(ends[1], &sample, sizeof(sample)) == sizeof(sample) ? 0 : 1;
        } catch (std::exception const& error) {
            std::cerr << peer.name << ": " << error.what() << '\n';
        }
        _exit(status);
    }
    close(ends[1]);
    Sample sample;
    bool const complete = read(ends[0], &sample, sizeof(sample)) == sizeof(sample);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!complete || status != 0) {
        throw std::runtime_error("the process that measures " + peer.name + " has failed");
    }
    return sample;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    std::size_t const middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void expectAlike(Sample const& first, Sample const& other, std::string const& name) {
    bool const walked = other.routesWalked == 0 || other.routesWalked == first.routesWalked;
    if (!(first.answers == other.answers) || first.changes != other.changes || !walked) {
        throw std::runtime_error(name + " does not answer as the first table does");
    }
}

}  // namespace

char const* nameOf(Work work) noexcept {
    constexpr std::array<char const*, workCount> names{"build, random order",
                                                       "build, address order",
                                                       "look-up, random covered addresses",
                                                       "look-up, own prefixes",
                                                       "walk in order",
                                                       "replay of updates",
                                                       "verify",
                                                       "remove, random order",
                                                       "resident bytes",
                                                       "bytes of objects"};
    return names.at(static_cast<std::size_t>(work));
}

std::vector<PeerFigures> measure(Input const& input, std::vector<Peer> const& peers,
                                 U32 repetitions, Pages pages) {
    std::vector<std::array<std::vector<double>, workCount>> samples(peers.size());
    Sample first;
    for (U32 repetition = 0; repetition < repetitions; ++repetition) {
        for (std::size_t i = 0; i < peers.size(); ++i) {
            Sample const sample = isolatedSample(input, peers[i], pages);
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
