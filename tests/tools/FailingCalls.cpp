#include <tests/tools/FailingCalls.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>

namespace ToolsTest {

namespace {

struct Failure {
    SystemCall call;
    Vexo::U64 number;
    int error;
};

// Set while no other thread runs.
std::optional<Failure> wanted;
bool trickling = false;
std::atomic<Vexo::U64> calls{0};

bool isWritableRegularFile(int file) {
    struct stat is {};
    int const mode = ::fcntl(file, F_GETFL);
    return mode >= 0 && (mode & O_ACCMODE) != O_RDONLY && ::fstat(file, &is) == 0 &&
           S_ISREG(is.st_mode);
}

/** Whether this call fails, with errno set. */
bool fails(SystemCall call) {
    if (!wanted || wanted->call != call || ++calls < wanted->number) {
        return false;
    }
    errno = wanted->error;
    return true;
}

}  // namespace

FailingCall::FailingCall(SystemCall call, Vexo::U64 number, int error) {
    calls = 0;
    wanted = Failure{call, number, error};
}

FailingCall::~FailingCall() {
    wanted.reset();
}

bool FailingCall::hasHappened() const noexcept {
    return calls >= wanted->number;
}

TricklingWrites::TricklingWrites() {
    calls = 0;
    trickling = true;
}

TricklingWrites::~TricklingWrites() {
    trickling = false;
}

}  // namespace ToolsTest

// The names that the linker's --wrap asks for.
extern "C" {
ssize_t __real_write(int file, void const* bytes, size_t size);
int __real_close(int file);
int __real_rename(char const* from, char const* to);
ssize_t __wrap_write(int file, void const* bytes, size_t size);
int __wrap_close(int file);
int __wrap_rename(char const* from, char const* to);

ssize_t __wrap_write(int file, void const* bytes, size_t size) {
    using namespace ToolsTest;
    if ((!wanted && !trickling) || !isWritableRegularFile(file)) {
        return __real_write(file, bytes, size);
    }
    if (fails(SystemCall::write)) {
        return -1;
    }
    if (trickling && ++calls % 2 == 1) {
        errno = EINTR;
        return -1;
    }
    std::size_t const mostBytes = trickling ? 1 : 16384;
    return __real_write(file, bytes, std::min(size, mostBytes));
}

int __wrap_close(int file) {
    using namespace ToolsTest;
    bool const failing = wanted && isWritableRegularFile(file) && fails(SystemCall::close);
    int const result = __real_close(file);
    if (!failing) {
        return result;
    }
    // As the system does: the descriptor is gone, what was written may be, too.
    errno = wanted->error;
    return -1;
}

int __wrap_rename(char const* from, char const* to) {
    return ToolsTest::fails(ToolsTest::SystemCall::rename) ? -1 : __real_rename(from, to);
}
}
