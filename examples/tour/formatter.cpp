#include "tour.h"

#include <algorithm>
#include <zelk_core/zelk_core.h>

void TourFormatter(const char* path, const std::string& content) {
    Chapter("base", "the formatter on the file's figures");
    const auto lines = static_cast<int>(std::count(content.begin(), content.end(), '\n'));
    char size[32];
    Z4::StrFormat::FormatSize(size, sizeof(size), content.size(), "B", 2);
    Print("   %-24s %s\n", "size", size);
    Print("   %-24s %'d\n", "lines", lines);
    Print("   %-24s %.1f\n", "bytes a line", static_cast<double>(content.size()) / std::max(lines, 1));
    Print("   %-24s |%-12.8s|%12.8s|\n", "name, cut to 8", path, path);
    Print("   %-24s %#x %#o %08.3f %+d %p\n", "numbers", lines, static_cast<unsigned>(lines), lines / 7.0, lines,
          static_cast<const void*>(content.data()));

    char small[24];
    const int whole = Z4::StrFormat::Print(small, sizeof(small), "%s", content.substr(0, 60).c_str());
    Print("   %-24s \"%s\" of %d characters\n", "cut to a buffer of 24", small, whole);
    Print("   %-24s %s\n", "a result", Z4::GetErrorString(Z4::ERR_OVERFLOW));
}
