#include <tools/AnswerChecker.h>

#include <sstream>
#include <vector>

namespace LpmTools {

using Nimbal::IpGenPrefix;

namespace {

/** `prefix` as an address, the bits behind its length being those of `bits`. */
IpGenPrefix addressIn(IpGenPrefix const& prefix, std::array<Vexo::U8, 16> const& bits) {
    auto bytes = prefix.address();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        U32 const before = static_cast<U32>(8 * i);
        U32 const kept = prefix.len() <= before ? 0 : std::min(prefix.len() - before, U32{8});
        U32 const hostBits = 0xffU >> kept;
        bytes[i] = static_cast<Vexo::U8>((bytes[i] & ~hostBits) | (bits[i] & hostBits));
    }
    return {prefix.af(), bytes, Nimbal::maxPrefixLen(prefix.af())};
}

std::array<Vexo::U8, 16> randomBits(Xoshiro& numbers) {
    std::array<Vexo::U8, 16> bits{};
    for (Vexo::U8& byte : bits) {
        byte = static_cast<Vexo::U8>(numbers.below(256));
    }
    return bits;
}

std::string text(std::optional<LpmClient::Route> const& route) {
    std::ostringstream out;
    if (route) {
        out << *route;
    } else {
        out << "no route";
    }
    return out.str();
}

}  // namespace

IpGenPrefix firstAddress(IpGenPrefix const& prefix) {
    return addressIn(prefix, {});
}

IpGenPrefix lastAddress(IpGenPrefix const& prefix) {
    std::array<Vexo::U8, 16> ones{};
    ones.fill(0xff);
    return addressIn(prefix, ones);
}

std::string addressText(IpGenPrefix const& address) {
    std::string const prefix = address.stringValue();
    return prefix.substr(0, prefix.find('/'));
}

void checkAnswers(LpmClient::SimulatedChip const& chip, Nimbal::AddressFamily af,
                  NaiveTable const& right, U64 random, Xoshiro& numbers, AnswerCheck& check) {
    auto const compare = [&](IpGenPrefix const& address) {
        auto const answer = chip.lookup(0, address).route;
        auto const expected = right.match(address);
        ++check.addresses;
        if (answer != expected && check.wrong++ == 0) {
            check.firstWrong = addressText(address) + ": the chip answers " + text(answer) +
                               ", not " + text(expected);
        }
    };
    std::vector<IpGenPrefix> prefixes;
    right.forEachRoute([&](LpmClient::Route const& route) {
        prefixes.push_back(route.prefix);
        compare(firstAddress(route.prefix));
        compare(lastAddress(route.prefix));
    });
    IpGenPrefix const everything(af, {}, 0);
    for (U64 i = 0; i < random; ++i) {
        bool const isAnywhere = prefixes.empty() || i % 2 == 0;
        compare(addressIn(isAnywhere ? everything : prefixes[numbers.below(prefixes.size())],
                          randomBits(numbers)));
    }
}

}  // namespace LpmTools
