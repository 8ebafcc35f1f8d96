#include <benchmarks/ClientWork.h>

#include <stdexcept>

namespace LpmBenchmarks {

namespace {

void expectDone(LpmClient::Outcome outcome) {
    if (outcome != LpmClient::Outcome::done) {
        throw std::runtime_error("the client has not carried out an update");
    }
}

LpmClient::ManagerOptions optionsOf(Nimbal::AddressFamily af) {
    LpmClient::ManagerOptions options;
    options.af = af;
    return options;
}

}  // namespace

ClientWork::ClientWork(Nimbal::AddressFamily af)
    : chip_(512), manager_(chip_, Torvel::Bitmap::BitmapIs(NoChip::mostBuckets), optionsOf(af)) {}

void ClientWork::announce(std::span<Nimbal::IpGenPrefix const> prefixes) {
    for (Nimbal::IpGenPrefix const& prefix : prefixes) {
        expectDone(manager_.announce({prefix, 1}));
    }
}

void ClientWork::replay(std::span<Update const> updates) {
    for (Update const& update : updates) {
        auto const outcome = update.announced ? manager_.announce({update.prefix, 1})
                                              : manager_.withdraw(update.prefix);
        if (outcome != LpmClient::Outcome::unchanged) {
            expectDone(outcome);
        }
    }
}

void ClientWork::withdraw(std::span<Nimbal::IpGenPrefix const> prefixes) {
    for (Nimbal::IpGenPrefix const& prefix : prefixes) {
        expectDone(manager_.withdraw(prefix));
    }
}

}  // namespace LpmBenchmarks
