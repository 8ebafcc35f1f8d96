#pragma once

#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

/*
 * Pages and pictures, judged by a parser that is not ours.
 */

namespace ToolsTest {

/** Runs a script of the tests over files; what it finds fault with is in `err`. */
inline Ended runScript(std::string const& script, std::vector<std::string> const& files) {
    std::vector<std::string> arguments{"/usr/bin/env", "python3", "-B",
                                       TestSupport::testsDirectory() + "/" + script};
    arguments.insert(arguments.end(), files.begin(), files.end());
    return runProgram(arguments);
}

/** Expects a page (`name` ends in .html) or a picture (.svg) to be well formed and by itself. */
inline void expectGoodForm(std::string const& name, std::string const& text) {
    TemporaryDirectory const directory;
    Ended const ended = runScript("tools/pageform.py", {directory.write(name, text)});
    EXPECT_EQ(ended.status, 0) << name << ": " << ended.err;
}

/** How often a text holds another. */
inline std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

}  // namespace ToolsTest
