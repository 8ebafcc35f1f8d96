#include <tests/LpmTrie/DumpedText.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>

/* Dumps to descriptors that take a piece at a time, or do not take all of it. */

namespace {

using namespace TrieTests;

/** A pair of connected descriptors, both closed at the end. */
class Ends {
public:
    Ends(int (*make)(int*)) { EXPECT_EQ(make(ends_.data()), 0); }
    ~Ends() {
        for (int const end : ends_) {
            if (end >= 0) {
                ::close(end);
            }
        }
    }
    Ends(Ends const&) = delete;
    Ends& operator=(Ends const&) = delete;

    U32 reader() const { return static_cast<U32>(ends_[0]); }
    U32 writer() const { return static_cast<U32>(ends_[1]); }
    void closeReader() { ::close(std::exchange(ends_[0], -1)); }
    /** One read of all that is there, at most 64 KiB; nothing when there is nothing. */
    String read() const {
        String got(65536, '\0');
        ssize_t const length = ::read(ends_[0], got.data(), got.size());
        got.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return got;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

int unblockedPipe(int* ends) {
    return ::pipe2(ends, O_NONBLOCK | O_CLOEXEC);
}
/** Every write arrives as a message of its own. */
int messageSockets(int* ends) {
    return ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends);
}

/** A signal is ignored for a scope; then as it was. */
class IgnoredSignal {
public:
    explicit IgnoredSignal(int number) : number_(number), before_(std::signal(number, SIG_IGN)) {}
    ~IgnoredSignal() { std::signal(number_, before_); }
    IgnoredSignal(IgnoredSignal const&) = delete;
    IgnoredSignal& operator=(IgnoredSignal const&) = delete;

private:
    int number_;
    void (*before_)(int);
};

/** Files of this process end at a size for a scope. */
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        rlimit limit = before_;
        limit.rlim_cur = bytes;
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

private:
    rlimit before_{};
    IgnoredSignal const signal_{SIGXFSZ};
};

class DumpDescriptorTest : public TrieFixture {
protected:
    DumpDescriptorTest() {
        PartitionId::Ptr const id = partitionId(5);
        partition("10.0.0.0/8", id, 1);
        route("10.1.0.0/16", id, 1);
        route("11.0.0.0/8");
        before_ = snapshot(trie());
    }
    void dumpAll(U32 socket) const {
        trie().dump(socket);
        trie().dumpPartition(socket);
        trie().dumpPrefix(socket, prefix("10.0.0.0/8"));
    }
    /** Dumps again to a descriptor that takes all. */
    void expectUnharmed() const {
        EXPECT_EQ(dumped([this](U32 socket) { dumpAll(socket); }), all_);
        EXPECT_EQ(snapshot(trie()), before_);
        trie().verify();
    }

    static inline std::vector<String> const dumpPieces_{
        "\n ----------------------- \n",
        " Dumping Trie 1\n",
        " ----------------------- \n",
        "|-",
        "root [Int,10.0.0.0/7,2,1,nil,hw:0]\n",
        "| ",
        "|-",
        "bit0 [Partition,10.0.0.0/8,1,1,0x5,hw:1,cp]\n",
        "| ",
        "| ",
        "|-",
        "bit0 [Fib,10.1.0.0/16,1,1,0x5,hw:1]\n",
        "| ",
        "|-",
        "bit1 [Fib,11.0.0.0/8,1,1,nil,hw:0]\n"};
    String const all_ = [] {
        String all;
        for (String const& piece : dumpPieces_) {
            all += piece;
        }
        return all + dumpBanner(" Dumping Trie 1 Partitions") +
               "| |-bit0 [Partition,10.0.0.0/8,1,1,0x5,hw:1,cp]\n" +
               prefixBanner(" Dumping Trie 1 Prefix 10.0.0.0/8") +
               "bit0 [Partition,10.0.0.0/8,1,1,0x5,hw:1,cp]\n"
               "|-bit0 [Fib,10.1.0.0/16,1,1,0x5,hw:1]\n";
    }();
    std::vector<NodeState> before_;
};

TEST_F(DumpDescriptorTest, eachPieceIsAWriteOfItsOwn) {
    Ends const sockets(messageSockets);
    trie().dump(sockets.writer());
    std::vector<String> pieces;
    for (String piece = sockets.read(); !piece.empty(); piece = sockets.read()) {
        pieces.push_back(piece);
    }
    EXPECT_EQ(pieces, dumpPieces_);
}

TEST_F(DumpDescriptorTest, aPipeTakesADump) {
    Ends const pipe(unblockedPipe);
    dumpAll(pipe.writer());
    EXPECT_EQ(pipe.read(), all_);
}

/** As on a disk that is full after that many bytes. */
TEST_F(DumpDescriptorTest, aFileThatEndsAtAnyByteHoldsWhatFitted) {
    for (std::size_t bytes = 0; bytes <= all_.size(); ++bytes) {
        UnnamedFile const file;
        {
            FileSizeLimit const limit(bytes);
            dumpAll(file.descriptor());
        }
        ASSERT_EQ(file.text(), all_.substr(0, bytes));
    }
    expectUnharmed();
}

TEST_F(DumpDescriptorTest, aDeviceThatIsFullTakesNothing) {
    int const full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    dumpAll(static_cast<U32>(full));
    ::close(full);
    expectUnharmed();
}

TEST_F(DumpDescriptorTest, aDescriptorThatIsNotOpenTakesNothing) {
    Ends pipe(unblockedPipe);
    U32 const closed = pipe.reader();
    pipe.closeReader();
    dumpAll(closed);
    dumpAll(0xffffffffU);
    dumpAll(0x7fffffffU);
    expectUnharmed();
}

TEST_F(DumpDescriptorTest, aDescriptorForReadingTakesNothing) {
    Ends const pipe(unblockedPipe);
    dumpAll(pipe.reader());
    EXPECT_EQ(pipe.read(), "");
    expectUnharmed();
}

TEST_F(DumpDescriptorTest, aPipeThatIsFullTakesTheNextDumpWhenItHasRoom) {
    Ends const pipe(unblockedPipe);
    String filling;
    while (::write(static_cast<int>(pipe.writer()), "#", 1) == 1) {
        filling += '#';
    }
    dumpAll(pipe.writer());
    for (String got = pipe.read(); !got.empty(); got = pipe.read()) {
        ASSERT_EQ(got, filling.substr(0, got.size()));
        filling.erase(0, got.size());
    }
    EXPECT_EQ(filling, "");
    dumpAll(pipe.writer());
    EXPECT_EQ(pipe.read(), all_);
    expectUnharmed();
}

TEST_F(DumpDescriptorTest, aPipeThatNobodyReadsTakesNothing) {
    IgnoredSignal const ignored(SIGPIPE);
    Ends pipe(unblockedPipe);
    pipe.closeReader();
    dumpAll(pipe.writer());
    expectUnharmed();
}

}  // namespace
