// Runs a program in a root folder of its own: kestrel-own-root ROOT [NAME=VALUE ...] PROGRAM [argument ...]
// The names are put into its environment.
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/Namespaces.h"

int main(int argc, char** argv) {
    int at = 2;
    for (; at < argc && std::strchr(argv[at], '=') != nullptr; at++) putenv(argv[at]);
    if (at >= argc) return CannotEnter;
    char** program = argv + at;
    if (!EnterOwnRoot(argv[1], *program)) {
        printf("A root of its own is not allowed here: %s\n", std::strerror(errno));
        return CannotEnter;
    }
    // The new namespace's privileges have cost it what its parent asked for.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execv(*program, program);
    printf("%s does not run there: %s\n", *program, std::strerror(errno));
    return CannotEnter;
}
