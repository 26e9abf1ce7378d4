// The pictures, each written to a file. Each tells on standard output what it shows.
#pragma once

/// Nearest points, distances and overlaps. @return whether the file is written; of each of these.
bool DrawDistances(const char* path, unsigned seed);
/// What a camera sees of boxes on a map.
bool DrawFrustum(const char* path);
/// Solids and a mesh as rays find them.
bool DrawScene(const char* path);
