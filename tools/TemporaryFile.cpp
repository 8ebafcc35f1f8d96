#include <tools/TemporaryFile.h>

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace LpmTools {

namespace {

constexpr std::array endingSignals{SIGHUP, SIGINT, SIGTERM};

using Name = std::atomic<char const*>;
static_assert(Name::is_always_lock_free, "the handler may not wait");

/** More than the files that a call can write; the handler cannot ask for memory. */
std::array<Name, 4> names{};

/** Only calls that a handler may make. */
void removeAll(int signal) {
    for (Name const& name : names) {
        if (char const* const file = name.load()) {
            ::unlink(file);
        }
    }
    // SA_RESETHAND: the default action stands again, and comes as soon as this returns.
    ::raise(signal);
}

void handleSignals() {
    for (int const signal : endingSignals) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = removeAll;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            ::sigaction(signal, &action, nullptr);
        }
    }
}

/** Keeps these signals waiting: a file and its place in the list come together. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t signals;
        ::sigemptyset(&signals);
        for (int const signal : endingSignals) {
            ::sigaddset(&signals, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
    }
    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

/** Puts `to` into a place that holds `from`. */
void replace(char const* from, char const* to) noexcept {
    for (Name& name : names) {
        char const* expected = from;
        if (name.compare_exchange_strong(expected, to)) {
            return;
        }
    }
}

}  // namespace

int makeTemporary(std::string& name) {
    handleSignals();
    SignalsBlocked const blocked;
    int const file = ::mkostemp(name.data(), O_CLOEXEC);
    int const error = errno;
    if (file >= 0) {
        replace(nullptr, name.c_str());
    }
    errno = error;
    return file;
}

void forgetTemporary(std::string const& name) noexcept {
    replace(name.c_str(), nullptr);
}

}  // namespace LpmTools
