#include <benchmarks/ClientWork.h>
#include <benchmarks/Clock.h>
#include <benchmarks/OwnProcess.h>
#include <benchmarks/ReadingWork.h>
#include <benchmarks/SingleWorks.h>

namespace LpmBenchmarks {

namespace {

SingleFigures clientFigures(Input const& input) {
    SingleFigures figures{};
    ClientWork client(input.af);
    std::size_t const routes = input.routes.size();
    figures[0] = timeEach(routes, [&] { client.announce(input.routes); });
    figures[1] = timeEach(input.updates.size(), [&] { client.replay(input.updates); });
    figures[2] = timeEach(input.leaving.size(), [&] { client.withdraw(input.leaving); });
    return figures;
}

double readingTime(Input const& input, TableFile::Form form) {
    TableFile const file(form, input.routes);
    U64 read = 0;
    double const time = timeEach(input.routes.size(), [&] { read = file.read(); });
    if (read != input.routes.size()) {
        throw std::runtime_error("not all routes have been read");
    }
    return time;
}

}  // namespace

char const* nameOf(SingleWork work) noexcept {
    constexpr std::array<char const*, singleWorkCount> names{
        "client: announce, random order", "client: replay of generated updates, an update",
        "client: withdraw, random order", "read text", "read MRT"};
    return names.at(static_cast<std::size_t>(work));
}

SingleFigures measureSingleWorks(Input const& input, U32 repetitions) {
    std::array<std::vector<double>, singleWorkCount> samples;
    for (U32 repetition = 0; repetition < repetitions; ++repetition) {
        SingleFigures figures = inOwnProcess("the client", [&] { return clientFigures(input); });
        figures[3] =
            inOwnProcess("reading text", [&] { return readingTime(input, TableFile::Form::text); });
        figures[4] =
            inOwnProcess("reading MRT", [&] { return readingTime(input, TableFile::Form::mrt); });
        for (std::size_t work = 0; work < singleWorkCount; ++work) {
            samples.at(work).push_back(figures.at(work));
        }
    }
    SingleFigures medians{};
    for (std::size_t work = 0; work < singleWorkCount; ++work) {
        medians.at(work) = median(samples.at(work));
    }
    return medians;
}

}  // namespace LpmBenchmarks
