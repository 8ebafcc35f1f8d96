#include <tools/Output.h>

#include <Vexo/Types.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

namespace LpmTools {

namespace {

[[noreturn]] void failWith(char const* what) {
    throw OutputError(std::string(what) + ": " + std::strerror(errno));
}

class Pipe {
public:
    Pipe() {
        if (::pipe(ends_.data()) != 0) {
            failWith("cannot make a pipe");
        }
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;
    ~Pipe() {
        closeReading();
        closeWriting();
    }

    int reading() const noexcept { return ends_[0]; }
    int writing() const noexcept { return ends_[1]; }
    void closeReading() noexcept { close(ends_[0]); }
    void closeWriting() noexcept { close(ends_[1]); }

private:
    static void close(int& end) noexcept {
        if (end >= 0) {
            ::close(end);
            end = -1;
        }
    }

    std::array<int, 2> ends_{};
};

/** Reads the pipe to its end and passes it on. */
void passOn(Pipe const& pipe, int to) {
    std::array<char, 65536> block{};
    for (;;) {
        ssize_t const count = ::read(pipe.reading(), block.data(), block.size());
        if (count == 0) {
            return;
        }
        if (count < 0 && errno != EINTR) {
            failWith("cannot read a pipe");
        }
        if (count > 0) {
            writeAll(to, std::string_view(block.data(), static_cast<std::size_t>(count)));
        }
    }
}

}  // namespace

std::string onOneLine(std::string_view text) {
    std::string line;
    for (char const c : text) {
        auto const code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7f) {
            line += Vexo::formatString("\\x%02x", unsigned{code});
        } else {
            line += c;
        }
    }
    return line;
}

void sealClosedStreams() {
    for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
        if (::fcntl(file, F_GETFD) < 0) {
            // The lowest free number is this very one. Opened for what nobody will do with it.
            ::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        ssize_t const count = ::write(file, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            failWith("cannot write standard output");
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

void writeThrough(int file, std::function<void(int)> const& writer,
                  std::function<void(OutputError const&)> const& onLoss) {
    Pipe pipe;
    std::exception_ptr writerError;
    std::thread worker([&] {
        try {
            writer(pipe.writing());
        } catch (...) {
            writerError = std::current_exception();
        }
        pipe.closeWriting();
    });
    std::exception_ptr outputError;
    try {
        passOn(pipe, file);
    } catch (OutputError const& error) {
        if (onLoss) {
            onLoss(error);
        }
        outputError = std::current_exception();
    } catch (...) {
        outputError = std::current_exception();
    }
    // A writer that waits for room in the pipe hears at once that nobody reads it.
    pipe.closeReading();
    worker.join();
    for (std::exception_ptr const& error : {outputError, writerError}) {
        if (error) {
            std::rethrow_exception(error);
        }
    }
}

}  // namespace LpmTools
