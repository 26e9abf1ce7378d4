// What the examples of the guide share: headers, and a function for each room.
#pragma once

#include <cstdio>
#include <host/zelkhost.h>
#include <string>
#include <zelk_core/zelk_core.h>

void ShowBase();
void ShowBreakpoints();
void ShowCompression();
void ShowDbgHelp();
void ShowEalUtils();
void ShowEncryption();
void ShowGenerics();
void ShowGeometry();
void ShowHost();
void ShowMath();
void ShowNet();
void ShowOs();
void ShowRandom();
void ShowReplacedSlot();
void ShowRuntimeType();
void ShowStreams();
