// The chapters of the tour: each shows one room at work, in the order of tour.cpp.
#pragma once

#include <string>

/// Whole lines of text, printed by our own formatter.
void Print(const char* format, ...);

/// A heading, with the room's name.
void Chapter(const char* room, const char* title);

void TourStartUp();
void TourPlatform();
void TourFormatter(const char* path, const std::string& content);
void TourHashes(const std::string& content);
void TourContainers(const std::string& content);
void TourGeometry(const std::string& content);
void TourObjects();
void TourThreads(const std::string& content);
/// @return whether every codec gave the content back.
bool TourCodecs(const std::string& content);
/// @return whether the file came back.
bool TourStreams(const char* path, const std::string& content);
void TourNetwork(const std::string& content);
void TourDebugHelp();
