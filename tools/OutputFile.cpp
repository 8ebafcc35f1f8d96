#include <tools/OutputFile.h>

#include <tools/TemporaryFile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

namespace LpmTools {

namespace {

/** The mode that a new file gets, as every program's; it cannot be asked for without setting it. */
mode_t modeOfNewFile() {
    mode_t const mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

}  // namespace

std::optional<int> standardStream(std::string_view path) {
    if (path == "/dev/stdout") {
        return STDOUT_FILENO;
    }
    if (path == "/dev/stderr") {
        return STDERR_FILENO;
    }
    return std::nullopt;
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    struct stat there {};
    bool const isThere = ::stat(path_.c_str(), &there) == 0;
    if (auto const stream = standardStream(path_)) {
        // Opened anew, it would begin at the start of a file that it has been led to.
        file_ = ::fcntl(*stream, F_DUPFD_CLOEXEC, 0);
    } else if (isThere && !S_ISREG(there.st_mode)) {
        file_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    } else if (isThere && ::access(path_.c_str(), W_OK) != 0) {
        fail();
    } else {
        std::error_code error;
        std::string const real = std::filesystem::canonical(path_, error).string();
        target_ = error ? path_ : real;
        temporary_ = target_ + ".XXXXXX";
        file_ = makeTemporary(temporary_);
    }
    if (file_ < 0) {
        temporary_.clear();
        fail();
    }
    if (!temporary_.empty()) {
        ::fchmod(file_, isThere ? there.st_mode & 07777U : modeOfNewFile());
    }
}

OutputFile::~OutputFile() {
    if (file_ >= 0) {
        ::close(file_);
    }
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        forgetTemporary(temporary_);
    }
}

void OutputFile::fail() const {
    throw OutputError(path_ + ": cannot write: " + std::strerror(errno));
}

void OutputFile::write(std::string_view text) {
    while (!text.empty()) {
        ssize_t const count = ::write(file_, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            fail();
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    int const file = std::exchange(file_, -1);
    if (::close(file) != 0) {
        fail();
    }
    if (!temporary_.empty()) {
        if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
            fail();
        }
        forgetTemporary(temporary_);
        temporary_.clear();
    }
}

}  // namespace LpmTools
