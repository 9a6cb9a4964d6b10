#include <cstdio>
#include <cstring>

#include "Demo.h"

int main(int argc, char** argv) {
    char const* const what = argc > 1 ? argv[1] : "";
    if (argc == 4 && std::strcmp(what, "events") == 0) {
        ZEB::demo::events(argv[2], argv[3]);
    } else if (argc == 2 && std::strcmp(what, "lamps") == 0) {
        ZEB::demo::lamps();
    } else if (argc == 4 && std::strcmp(what, "measurements") == 0) {
        ZEB::demo::measurements(argv[2], argv[3]);
    } else {
        std::fprintf(stderr,
                     "usage: demo events INPUT REPLIES | lamps | measurements TAKEN EXPORT\n");
        return 2;
    }
}
