#include <fuzz/Fuzz.h>

#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/ModelOperations.h>

/*
 * A stream of operations on a trie, each judged by the naive model of the tests, which compares the
 * whole state after each of them. Operations that are not legal where they stand are left out. The
 * first byte tells the family and whether the trie has an index.
 */

namespace {

using namespace TrieModel;
using Fuzz::Input;
using Fuzz::require;

/** Comparing takes time linear in the nodes after each: more would only be slow. */
constexpr int mostOperations = 200;

Prefix farPrefix(Input& input, World const& world) {
    auto const len = static_cast<unsigned>(input.below(world.maxLen() + 1));
    Prefix prefix{{}, world.maxLen()};
    for (std::uint64_t& word : prefix.bits) {
        word = std::uint64_t{input.byte()} << 56U | std::uint64_t{input.byte()};
    }
    return truncated(prefix, len);
}

/** Made from one that is in the trie, so that prefixes nest and branch. */
Prefix nearPrefix(Input& input, Prefix prefix, unsigned maxLen) {
    unsigned const change = input.byte();
    switch (change % 4) {
    case 0:
        return prefix;
    case 1:
        return prefix.len == 0 ? prefix
                               : withBit(prefix, prefix.len - 1, 1 - bitAt(prefix, prefix.len - 1));
    case 2:
        return truncated(prefix, change / 4 % (prefix.len + 1));
    default:
        for (unsigned more = change / 4 % 8 + 1; more > 0 && prefix.len < maxLen; --more) {
            prefix = extended(prefix, change >> (more % 8) & 1U);
        }
        return prefix;
    }
}

Prefix readPrefix(Input& input, World const& world) {
    std::size_t const nodes = world.model().nodes().size();
    std::size_t const choice = input.byte();
    if (nodes == 0 || choice == 0xff) {
        return farPrefix(input, world);
    }
    return nearPrefix(input, world.model().nodes()[choice % nodes].prefix, world.maxLen());
}

Operation readOperation(Input& input, World const& world) {
    Operation operation;
    operation.kind = static_cast<Kind>(input.below(kinds));
    unsigned const flags = input.byte();
    operation.route = (flags & 1U) != 0;
    operation.partition = (flags & 2U) != 0;
    operation.collect = (flags & 4U) != 0;
    operation.flag = (flags & 8U) != 0;
    operation.later = (flags & 16U) != 0;
    operation.id = static_cast<WhichId>(flags / 64 % 3);
    operation.prefix = readPrefix(input, world);
    if ((flags & 32U) != 0) {
        operation.other = readPrefix(input, world);
    }
    operation.number =
        static_cast<U32>(operation.kind == Kind::pending ? input.below(16) : input.below(128));
    return operation;
}

void requireAgreement(World const& world) {
    require(world.disagreement().empty(), world.disagreement().c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    unsigned const setting = input.byte();
    TrieTests::IndexFrom const index((setting & 2U) != 0 ? 0 : TrieTests::never);
    World world((setting & 1U) != 0 ? Nimbal::AddressFamily::ipv6 : Nimbal::AddressFamily::ipv4);
    for (int i = 0; i < mostOperations && !input.empty(); ++i) {
        play(world, readOperation(input, world));
        requireAgreement(world);
    }
    removeEverything(world);
    requireAgreement(world);
    require(world.gone(), "no node and no partition number is left");
    return 0;
}
