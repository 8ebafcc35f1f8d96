/*
 * One work on one table, for a tool that counts instructions or simulates caches: only what runs
 * inside `measured` is looked at. See scripts/instruction-budget and MemoryLimit.cpp.
 */

#include <tools/RouteGenerator.h>
#include <tools/TableReader.h>
#include <benchmarks/ClientWork.h>
#include <benchmarks/Inputs.h>
#include <benchmarks/PartitionWork.h>
#include <benchmarks/ReadingWork.h>

#include <valgrind/callgrind.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>

namespace {

using namespace LpmBenchmarks;

/** Counts from here to the end of the action; all else runs without being looked at. */
template <class Action>
void measured(Action const& action) {
    CALLGRIND_START_INSTRUMENTATION;
    action();
    CALLGRIND_STOP_INSTRUMENTATION;
}

struct Setting {
    Nimbal::AddressFamily af;
    std::string kind;
    std::string routes;  // how many, or a file

    Input input() const {
        auto const count = static_cast<U32>(std::strtoul(routes.c_str(), nullptr, 10));
        if (count != 0) {
            return inputOf(af, LpmTools::generateTable(af, count, 1), 1);
        }
        LpmTools::Table const table = LpmTools::readTables({routes}, {});
        return inputOf(af, af == Nimbal::AddressFamily::ipv6 ? table.ipv6 : table.ipv4, 1);
    }
    std::unique_ptr<Table> table(Input const& input) const {
#ifdef LPMTRIE_WITH_RTE_RIB
        if (kind == "rte_rib") {
            return rteRibTable(af, static_cast<U32>(input.routes.size() * 2 + 1024), Pages::small);
        }
#endif
        static_cast<void>(input);
        return kind == "partitioned" ? partitionedTable(af) : libraryTable(af);
    }
};

using Work = std::function<void(Setting const&)>;

/** A work on a table that holds all routes already. */
template <class Action>
Work onFullTable(Action const& action) {
    return [action](Setting const& setting) {
        Input const input = setting.input();
        auto const table = setting.table(input);
        table->insert(input.routes);
        measured([&] { action(*table, input); });
    };
}

template <class Action>
Work onPartition(Action const& action) {
    return [action](Setting const& setting) {
        Input const input = setting.input();
        PartitionWork partition(input.routes);
        action(partition);
    };
}

template <class Action>
Work onSplitPartition(Action const& action) {
    return onPartition([action](PartitionWork& partition) {
        partition.split(partition.findSplit());
        measured([&] { action(partition); });
    });
}

Work reading(TableFile::Form form) {
    return [form](Setting const& setting) {
        TableFile const file(form, setting.input().routes);
        measured([&] { file.read(); });
    };
}

void insertRandomly(Setting const& setting) {
    Input const input = setting.input();
    auto const table = setting.table(input);
    measured([&] { table->insert(input.routes); });
}

void insertInOrder(Setting const& setting) {
    Input const input = setting.input();
    auto const table = setting.table(input);
    measured([&] { table->insert(input.ordered); });
}

void announce(Setting const& setting) {
    Input const input = setting.input();
    ClientWork client(setting.af);
    measured([&] { client.announce(input.routes); });
}

void withdraw(Setting const& setting) {
    Input const input = setting.input();
    ClientWork client(setting.af);
    client.announce(input.routes);
    measured([&] { client.withdraw(input.leaving); });
}

std::map<std::string, Work> works() {
    return {
        {"insert", insertRandomly},
        {"insert-ordered", insertInOrder},
        {"find", onFullTable([](Table& table, Input const& at) { table.find(at.queries); })},
        {"find-own", onFullTable([](Table& table, Input const& at) { table.find(at.leaving); })},
        {"walk", onFullTable([](Table& table, Input const&) { table.walk(); })},
        {"replay", onFullTable([](Table& table, Input const& at) { table.replay(at.updates); })},
        {"verify", onFullTable([](Table& table, Input const&) { table.verify(); })},
        {"remove", onFullTable([](Table& table, Input const& at) { table.remove(at.leaving); })},
        {"find-split", onPartition([](PartitionWork& at) { measured([&] { at.findSplit(); }); })},
        {"split", onPartition([](PartitionWork& at) {
             auto* const node = at.findSplit();
             measured([&] { at.split(node); });
         })},
        {"find-redistribution",
         onSplitPartition([](PartitionWork& at) { at.findRedistribution(); })},
        {"find-parent", onSplitPartition([](PartitionWork& at) { at.findParent(); })},
        {"merge", onSplitPartition([](PartitionWork& at) { at.merge(); })},
        {"announce", announce},
        {"withdraw", withdraw},
        {"read-text", reading(TableFile::Form::text)},
        {"read-mrt", reading(TableFile::Form::mrt)},
    };
}

int run(std::string const& workName, Setting const& setting) {
    auto const all = works();
    auto const work = all.find(workName);
    if (work == all.end()) {
        std::cerr << "no such work: " << workName << '\n';
        return 2;
    }
    work->second(setting);
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::cerr << "usage: LpmTrieInstructionWork WORK ipv4|ipv6 plain|partitioned|rte_rib "
                     "ROUTES|FILE\n";
        return 2;
    }
    try {
        auto const af = std::string(arguments[2]) == "ipv6" ? Nimbal::AddressFamily::ipv6
                                                            : Nimbal::AddressFamily::ipv4;
        return run(arguments[1], {af, arguments[3], arguments[4]});
    } catch (std::exception const& error) {
        std::cerr << arguments[1] << ": " << error.what() << '\n';
        return 1;
    }
}
