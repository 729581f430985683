// find-scanners all|local: writes name, vendor, model and type of each scanner that SANE finds, each with a
// terminating zero. A program of its own, since no one can stop a search once it hangs but with the process.

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

#include <sane/sane.h>

namespace {

void Write(FILE* list, const char* text)
{
    std::fputs(text ? text : "", list);
    std::fputc(0, list);
}

}  // namespace

int main(int argc, char** argv)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Back ends print what they like, and where: the list has the pipe for itself.
    FILE* const list = fdopen(dup(STDOUT_FILENO), "w");
    if (!list || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return 1;
    const SANE_Bool local = argc > 1 && std::strcmp(argv[1], "local") == 0 ? SANE_TRUE : SANE_FALSE;
    SANE_Int version = 0;
    const SANE_Device** devices = nullptr;
    if (sane_init(&version, nullptr) != SANE_STATUS_GOOD ||
        sane_get_devices(&devices, local) != SANE_STATUS_GOOD)
        return 1;
    for (; devices && *devices; ++devices) {
        for (const char* text : {(*devices)->name, (*devices)->vendor, (*devices)->model, (*devices)->type})
            Write(list, text);
    }
    std::fclose(list);
    _exit(0);  // the list is told: no back end gets to hang at the end
}
