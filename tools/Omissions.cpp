#include <tools/Omissions.h>

#include <tools/ExitStatus.h>
#include <tools/Texts.h>

namespace LpmTools {

namespace {

std::string counted(Vexo::U64 number, std::string const& what, char const* plural) {
    return grouped(number) + " " + what + (number == 1 ? "" : plural);
}

std::string text(Omissions const& omissions) {
    std::string text = omissions.input + ": ";
    if (omissions.hostBitsCleared > 0) {
        text += "host bits cleared in " + counted(omissions.hostBitsCleared, "prefix", "es");
        text += omissions.badLines > 0 ? "; " : "";
    }
    if (omissions.badLines > 0) {
        text += counted(omissions.badLines, "bad line", "s") +
                " skipped, the first: " + omissions.firstBadLine;
    }
    return text;
}

}  // namespace

Omissions sumOf(std::span<Omissions const> omissions) {
    Omissions sum;
    for (Omissions const& each : omissions) {
        sum.hostBitsCleared += each.hostBitsCleared;
        if (sum.badLines == 0) {
            sum.firstBadLine = each.firstBadLine;
        }
        sum.badLines += each.badLines;
    }
    return sum;
}

void tell(std::span<Omissions const> omissions) {
    for (Omissions const& each : omissions) {
        tellProblem(text(each));
    }
}

}  // namespace LpmTools
