/*
 * DPDK's tables. Its environment is started without huge pages, devices or files; the objects live
 * in memory of ours that is handed to it as a heap, so that both sides can have the same page size.
 */

#include <benchmarks/Table.h>

#include <rte_eal.h>
#include <rte_errno.h>
#include <rte_malloc.h>
#include <rte_mempool.h>
#include <rte_rib.h>
#include <rte_rib6.h>
#include <sys/mman.h>

#include <array>
#include <stdexcept>
#include <string>

namespace LpmBenchmarks {

namespace {

constexpr std::size_t pageSize = std::size_t{2} << 20;

void startEnvironment() {
    // Deliberate: not --in-memory, which DPDK 22.11 refuses together with --no-huge.
    static std::array<std::string, 8> arguments{
        "benchmark",      "--no-huge",     "--no-pci", "--no-shconf",
        "--no-telemetry", "--log-level=1", "-m",       "64"};
    std::array<char*, arguments.size()> pointers{};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        pointers[i] = arguments[i].data();
    }
    if (rte_eal_init(static_cast<int>(pointers.size()), pointers.data()) < 0) {
        throw std::runtime_error(std::string("rte_eal_init: ") + rte_strerror(rte_errno));
    }
}

/** The number of a heap of `bytes` bytes on the pages asked for. */
int heapOf(std::size_t bytes, Pages pages) {
    bytes = (bytes + pageSize - 1) / pageSize * pageSize;
    void* const storage = mmap(nullptr, bytes + pageSize, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (storage == MAP_FAILED) {
        throw std::bad_alloc();
    }
    auto const begin = (reinterpret_cast<std::uintptr_t>(storage) + pageSize - 1) & ~(pageSize - 1);
    auto* const aligned = reinterpret_cast<void*>(begin);
    madvise(aligned, bytes, pages == Pages::huge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
    if (rte_malloc_heap_create("tables") != 0 ||
        rte_malloc_heap_memory_add("tables", aligned, bytes, nullptr,
                                   static_cast<unsigned>(bytes / pageSize), pageSize) != 0) {
        throw std::runtime_error(std::string("rte_malloc_heap: ") + rte_strerror(rte_errno));
    }
    return rte_malloc_heap_get_socket("tables");
}

U64 poolBytes(char const* table) {
    rte_mempool const* const pool = rte_mempool_lookup(table);
    if (pool == nullptr) {
        return 0;
    }
    return U64{rte_mempool_in_use_count(pool)} *
           (pool->header_size + pool->elt_size + pool->trailer_size);
}

struct V4 {
    using Rib = rte_rib;
    using RibNode = rte_rib_node;
    static constexpr char const* pool = "MP_table";

    static Rib* create(int socket, U32 nodes) {
        rte_rib_conf conf{};
        conf.max_nodes = static_cast<int>(nodes);
        return rte_rib_create("table", socket, &conf);
    }
    static void free(Rib* rib) { rte_rib_free(rib); }
    static RibNode* insert(Rib* rib, IpGenPrefix const& route) {
        return rte_rib_insert(rib, route.word(0), static_cast<uint8_t>(route.len()));
    }
    static void setNextHop(RibNode* node) { rte_rib_set_nh(node, 1); }
    static RibNode* find(Rib* rib, IpGenPrefix const& query) {
        return rte_rib_lookup(rib, query.word(0));
    }
    static RibNode* findExact(Rib* rib, IpGenPrefix const& route) {
        return rte_rib_lookup_exact(rib, route.word(0), static_cast<uint8_t>(route.len()));
    }
    static RibNode* next(Rib* rib, RibNode* last) {
        return rte_rib_get_nxt(rib, 0, 0, last, RTE_RIB_GET_NXT_ALL);
    }
    static void remove(Rib* rib, IpGenPrefix const& route) {
        rte_rib_remove(rib, route.word(0), static_cast<uint8_t>(route.len()));
    }
    static U32 len(RibNode const* node) {
        uint8_t depth = 0;
        rte_rib_get_depth(node, &depth);
        return depth;
    }
};

struct V6 {
    using Rib = rte_rib6;
    using RibNode = rte_rib6_node;
    static constexpr char const* pool = "MP_table";
    static constexpr std::array<uint8_t, 16> zeros{};

    static Rib* create(int socket, U32 nodes) {
        rte_rib6_conf conf{};
        conf.max_nodes = static_cast<int>(nodes);
        return rte_rib6_create("table", socket, &conf);
    }
    static void free(Rib* rib) { rte_rib6_free(rib); }
    static RibNode* insert(Rib* rib, IpGenPrefix const& route) {
        return rte_rib6_insert(rib, route.address().data(), static_cast<uint8_t>(route.len()));
    }
    static void setNextHop(RibNode* node) { rte_rib6_set_nh(node, 1); }
    static RibNode* find(Rib* rib, IpGenPrefix const& query) {
        return rte_rib6_lookup(rib, query.address().data());
    }
    static RibNode* findExact(Rib* rib, IpGenPrefix const& route) {
        return rte_rib6_lookup_exact(rib, route.address().data(),
                                     static_cast<uint8_t>(route.len()));
    }
    static RibNode* next(Rib* rib, RibNode* last) {
        return rte_rib6_get_nxt(rib, zeros.data(), 0, last, RTE_RIB6_GET_NXT_ALL);
    }
    static void remove(Rib* rib, IpGenPrefix const& route) {
        rte_rib6_remove(rib, route.address().data(), static_cast<uint8_t>(route.len()));
    }
    static U32 len(RibNode const* node) {
        uint8_t depth = 0;
        rte_rib6_get_depth(node, &depth);
        return depth;
    }
};

template <class Calls>
class RteRibTable : public Table {
public:
    RteRibTable(U32 nodes, Pages pages) {
        startEnvironment();
        int const socket = heapOf(std::size_t{nodes} * 256 + (std::size_t{256} << 20), pages);
        rib_ = Calls::create(socket, nodes);
        if (rib_ == nullptr) {
            throw std::runtime_error(std::string("rte_rib_create: ") + rte_strerror(rte_errno));
        }
    }
    ~RteRibTable() override { Calls::free(rib_); }

    void insert(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            insert(route);
        }
    }
    U64 find(std::span<IpGenPrefix const> queries) override {
        U64 sum = 0;
        for (IpGenPrefix const& query : queries) {
            sum += Calls::find(rib_, query) != nullptr ? 1U : 0U;
        }
        return sum;
    }
    Answers answers(std::span<IpGenPrefix const> queries) override {
        Answers answers;
        for (IpGenPrefix const& query : queries) {
            auto const* const node = Calls::find(rib_, query);
            node != nullptr ? answers.add(Calls::len(node)) : answers.addNone();
        }
        return answers;
    }
    U64 walk() override {
        U64 routes = 0;
        for (auto* node = Calls::next(rib_, nullptr); node != nullptr;
             node = Calls::next(rib_, node)) {
            ++routes;
        }
        return routes;
    }
    U64 replay(std::span<Update const> updates) override {
        U64 changes = 0;
        for (Update const& update : updates) {
            bool const there = Calls::findExact(rib_, update.prefix) != nullptr;
            if (there == update.announced) {
                continue;
            }
            ++changes;
            if (there) {
                Calls::remove(rib_, update.prefix);
            } else {
                insert(update.prefix);
            }
        }
        return changes;
    }
    void remove(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            Calls::remove(rib_, route);
        }
    }
    U64 bytes() const override { return poolBytes(Calls::pool); }

private:
    void insert(IpGenPrefix const& route) {
        auto* const node = Calls::insert(rib_, route);
        if (node == nullptr) {
            throw std::runtime_error(std::string("rte_rib_insert: ") + rte_strerror(rte_errno));
        }
        Calls::setNextHop(node);
    }

    typename Calls::Rib* rib_ = nullptr;
};

}  // namespace

std::unique_ptr<Table> rteRibTable(Nimbal::AddressFamily af, U32 nodes, Pages pages) {
    if (af == Nimbal::AddressFamily::ipv6) {
        return std::make_unique<RteRibTable<V6>>(nodes, pages);
    }
    return std::make_unique<RteRibTable<V4>>(nodes, pages);
}

}  // namespace LpmBenchmarks
