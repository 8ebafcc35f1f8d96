/*
 * The command line: hands over to the subcommands, in *Command.cpp and *Commands.cpp. What can go
 * wrong in them comes back here as an exception and leaves as one line and an exit status.
 */

#include <tools/Command.h>

#include <LpmTrie/Version.h>
#include <tools/CommandLine.h>
#include <tools/Output.h>

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <span>
#include <sstream>
#include <string_view>

namespace LpmTools {

namespace {

/** The command line's parser and what it asks for. */
class Command {
public:
    Command() {
        app_.require_subcommand(1);
        app_.set_help_all_flag("--help-all", "Help of all commands");
        app_.set_version_flag("--version", "lpmtrie " LPMTRIE_VERSION_TEXT, "Version");
        addPlanCommand(app_, work_);
        addDiffCommand(app_, work_);
        addLookupCommand(app_, work_);
        addLoadCommand(app_, work_);
        addGenerateCommand(app_, work_);
        addDumpCommands(app_, work_);
    }
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    int run(int argumentCount, char const* const* arguments) {
        refuseEmptyOptions({arguments, static_cast<std::size_t>(argumentCount)});
        try {
            app_.parse(argumentCount, arguments);
        } catch (CLI::Success const& asked) {
            std::ostringstream answer;  // help or version
            app_.exit(asked, answer);
            writeAll(STDOUT_FILENO, answer.str());
            return statusDone;
        } catch (CLI::ParseError const& error) {
            throw std::invalid_argument(whyMisused(error) + " (see " + helpCall() + ")");
        }
        return work_();
    }

private:
    std::string whyMisused(CLI::ParseError const& error) const {
        // Of a word that is no command, the option parser only tells that a command is missing.
        auto const unknown = app_.remaining();
        return unknown.empty() ? error.what() : CLI::ExtrasError({unknown.front()}).what();
    }

    /** Of "--html=", the option parser takes the next argument for the file. */
    static void refuseEmptyOptions(std::span<char const* const> arguments) {
        for (std::string_view const argument : arguments) {
            if (argument == "--") {
                return;
            }
            if (argument.starts_with("--") && argument.find('=') == argument.size() - 1) {
                throw std::invalid_argument(std::string(argument.substr(0, argument.size() - 1)) +
                                            ": it must not be empty");
            }
        }
    }

    /** The call that tells the options of the command that is meant. */
    std::string helpCall() const {
        auto const commands = app_.get_subcommands();
        return "lpmtrie " + (commands.empty() ? "" : commands.front()->get_name() + " ") + "--help";
    }

    CLI::App app_{"Divides IP routing tables over bounded hardware buckets", "lpmtrie"};
    Work work_;
};

/** What the command ends with when it has failed. */
int failed = statusFailed;

/** The JSON library's destructors ask for memory, and cannot tell that there is none. */
[[noreturn]] void terminate() {
    try {
        if (auto const error = std::current_exception()) {
            std::rethrow_exception(error);
        }
    } catch (std::bad_alloc const&) {
        std::_Exit(fail("out of memory", failed));
    } catch (...) {
        // Whatever else it is, a core tells more.
    }
    std::abort();
}

}  // namespace

int runCommand(int argumentCount, char const* const* arguments) {
    // A pipe that nobody reads is told as an error of writing, not as the process's death.
    std::signal(SIGPIPE, SIG_IGN);
    // So is a file that must not grow any more.
    std::signal(SIGXFSZ, SIG_IGN);
    sealClosedStreams();
    std::set_terminate(terminate);
    // Known before there is a parser, for which there may be no memory.
    bool const isDiff = argumentCount > 1 && std::string_view(arguments[1]) == "diff";
    failed = isDiff ? statusUndecided : statusFailed;
    try {
        return Command().run(argumentCount, arguments);
    } catch (BadLine const& error) {
        return fail(error.what(), statusMisused);
    } catch (Vexo::RangeException const& error) {
        return fail(error.what(), statusMisused);
    } catch (std::invalid_argument const& error) {
        return fail(error.what(), statusMisused);
    } catch (std::bad_alloc const&) {
        return fail("out of memory", failed);
    } catch (std::exception const& error) {
        return fail(error.what(), failed);
    }
}

}  // namespace LpmTools
