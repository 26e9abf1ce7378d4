// Draws what the geometry finds: picture OUTPUT.svg [SEED], picture frustum OUTPUT.svg, picture scene OUTPUT.png
//
// The first draws nearest points, distances and overlaps of shapes that are scattered by SEED; the second what a camera
// sees, on a map; the third a scene by tracing rays.
#include "picture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

/// @return 0 where the arguments are wrong, and else the path of the file.
const char* Draw(int argc, char** argv, bool& isWritten) {
    if (argc == 3 && std::strcmp(argv[1], "frustum") == 0) {
        isWritten = DrawFrustum(argv[2]);
        return argv[2];
    }
    if (argc == 3 && std::strcmp(argv[1], "scene") == 0) {
        isWritten = DrawScene(argv[2]);
        return argv[2];
    }
    char* end = nullptr;
    const unsigned long seed = argc > 2 ? std::strtoul(argv[2], &end, 10) : 1;
    if (argc < 2 || argc > 3 || (end != nullptr && (end == argv[2] || *end != 0))) {
        return nullptr;
    }
    isWritten = DrawDistances(argv[1], static_cast<unsigned>(seed));
    return argv[1];
}

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install({});
    Z4::InitializeBase();
    Z4::InitializeMath();
    bool isWritten = false;
    const char* const path = Draw(argc, argv, isWritten);
    Z4::ShutdownMath();
    Z4::ShutdownBase();
    if (path == nullptr) {
        std::fprintf(stderr, "usage: picture OUTPUT.svg [SEED]\n       picture frustum OUTPUT.svg\n"
                             "       picture scene OUTPUT.png\n");
        return 2;
    }
    if (!isWritten) {
        std::fprintf(stderr, "picture: cannot write %s\n", path);
        return 1;
    }
    return 0;
}
