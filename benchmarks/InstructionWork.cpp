/*
 * One work on one generated table, for a tool that counts instructions: only what runs inside
 * `measuredWork` is to be counted. See scripts/instruction-budget.
 */

#include <tools/RouteGenerator.h>
#include <benchmarks/Inputs.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>

namespace {

using namespace LpmBenchmarks;

}  // namespace

extern "C" [[gnu::noinline]] void measuredWork(std::function<void()> const& work);
extern "C" void measuredWork(std::function<void()> const& work) {
    work();
}

namespace {

using Action = std::function<void(Table&, Input const&)>;

struct Work {
    /** What is done before, and not counted. */
    Action before;
    Action measured;
};

std::map<std::string, Work> works() {
    Action const nothing = [](Table&, Input const&) {};
    Action const fill = [](Table& table, Input const& input) { table.insert(input.routes); };
    return {
        {"insert", {nothing, [](Table& table, Input const& input) { table.insert(input.routes); }}},
        {"insert-ordered",
         {nothing, [](Table& table, Input const& input) { table.insert(input.ordered); }}},
        {"find", {fill, [](Table& table, Input const& input) { table.find(input.queries); }}},
        {"walk", {fill, [](Table& table, Input const&) { table.walk(); }}},
        {"replay", {fill, [](Table& table, Input const& input) { table.replay(input.updates); }}},
        {"verify", {fill, [](Table& table, Input const&) { table.verify(); }}},
        {"remove", {fill, [](Table& table, Input const& input) { table.remove(input.leaving); }}},
    };
}

int run(std::string const& workName, std::string const& family, std::string const& kind, U32 size) {
    auto const all = works();
    auto const work = all.find(workName);
    if (work == all.end()) {
        std::cerr << "no such work: " << workName << '\n';
        return 2;
    }
    auto const af = family == "ipv6" ? Nimbal::AddressFamily::ipv6 : Nimbal::AddressFamily::ipv4;
    Input const input = inputOf(af, LpmTools::generateTable(af, size, 1), 1);
    auto const table = kind == "partitioned" ? partitionedTable(af) : libraryTable(af);
    work->second.before(*table, input);
    measuredWork([&] { work->second.measured(*table, input); });
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::cerr << "usage: LpmTrieInstructionWork WORK ipv4|ipv6 plain|partitioned ROUTES\n";
        return 2;
    }
    return run(arguments[1], arguments[2], arguments[3],
               static_cast<U32>(std::strtoul(arguments[4], nullptr, 10)));
}
