// NightveilMode.exe: a GUI-subsystem program with no window of its own.
#include <windows.h>

#include "launcher/chain.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return nv::run_process(); }
