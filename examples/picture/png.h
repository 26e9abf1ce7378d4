// Writes pictures as PNG, whose compression and checksums are the library's.
#pragma once

#include <vector>

/// Three bytes to a pixel, red, green and blue, row by row from the top. @return whether all of it is on the disk.
bool WritePng(const char* path, unsigned width, unsigned height, const std::vector<unsigned char>& pixels);
