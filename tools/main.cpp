#include <tools/Command.h>

int main(int argumentCount, char** arguments) {
    return LpmTools::runCommand(argumentCount, arguments);
}
