#pragma once

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/Directories.h>

#include <unistd.h>
#include <array>
#include <cstdio>
#include <fstream>
#include <memory>

/* Where the tests of the dumps let them write, and what they compare them with. */

namespace TrieTests {

/** An open file that has no name. */
class UnnamedFile {
public:
    UnnamedFile() : file_(std::tmpfile(), std::fclose) { EXPECT_NE(file_, nullptr); }
    U32 descriptor() const { return static_cast<U32>(::fileno(file_.get())); }
    /** All of it, as far as it has been written. */
    String text() const {
        String all;
        std::array<char, 4096> part{};
        ssize_t got = 0;
        while ((got = ::pread(::fileno(file_.get()), part.data(), part.size(),
                              static_cast<off_t>(all.size()))) > 0) {
            all.append(part.data(), static_cast<std::size_t>(got));
        }
        EXPECT_EQ(got, 0);
        return all;
    }

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

/** What `dump`, which is given a descriptor, writes to it. */
template <class Dump>
String dumped(Dump const& dump) {
    UnnamedFile const file;
    dump(file.descriptor());
    return file.text();
}

/** The golden file of that name. */
inline String golden(String const& name) {
    String const path = TestSupport::testsDirectory() + "/LpmTrie/golden/" + name + ".out";
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline String dumpBanner(String const& title) {
    return "\n ----------------------- \n" + title + "\n ----------------------- \n";
}
inline String prefixBanner(String const& title) {
    return "\n ------------------------------ \n" + title + "\n ------------------------------ \n";
}

}  // namespace TrieTests
