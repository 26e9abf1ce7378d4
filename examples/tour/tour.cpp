// A tour of the library, room by room, at work on a real file: tour [FILE]
#include "tour.h"

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <host/zelkhost.h>
#include <iterator>
#include <zelk_core/zelk_core.h>

void Print(const char* format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    Z4::StrFormat::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    std::fputs(line, stdout);
    std::fflush(stdout); // The log goes to standard error, in between.
}

void Chapter(const char* room, const char* title) {
    Print("\n%s: %s\n", room, title);
}

int main(int argc, char** argv) {
    const char* const path = argc > 1 ? argv[1] : TOUR_TEXT;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "tour: cannot read %s\nusage: tour [FILE]\n", path);
        return 1;
    }
    const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());

    ZelkHost::Options options;
    options.memoryMode = ZelkHost::MemoryMode::GUARD_END;
    ZelkHost::Install(options);
    Print("zelk_core %s, toured with %s\n", Z4_CORE_VERSION_STRING, path);

    TourStartUp();
    Z4::InitializeBase();
    TourPlatform();
    TourFormatter(path, content);
    TourHashes(content);
    TourContainers(content);
    TourGeometry(content);
    TourObjects();
    TourThreads(content);
    const bool allCameBack = TourCodecs(content);
    const bool fileCameBack = TourStreams(path, content);
    TourNetwork(content);
    TourDebugHelp();
    Z4::ShutdownBase();

    const std::size_t left = ZelkHost::ReportLeaks();
    Print("\nEnd of the tour: %u blocks of memory left behind.\n", static_cast<unsigned>(left));
    return left == 0 && allCameBack && fileCameBack ? 0 : 1;
}
