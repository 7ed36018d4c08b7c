// NightveilMode.exe: a GUI-subsystem program with no window of its own.
#include <windows.h>

#include "launcher/chain.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  // Before anything can load a library: every library loaded from here on (the delay-loaded ones
  // included) comes from System32, never from the launcher's folder, which a user may be able to
  // write. Side-by-side redirection, such as the manifest's common controls 6, still applies.
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  return nv::run_process();
}
