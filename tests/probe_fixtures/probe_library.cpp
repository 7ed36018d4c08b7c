// The body of every probe fixture library: the platform tests read these
// files' headers, version resources and signatures, never their code.
#include <windows.h>

extern "C" __declspec(dllexport) int nv_probe_library() { return 1; }

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
