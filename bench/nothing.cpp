// A program that does nothing: the cost of one bare process start under Wine, the yardstick of
// tools/bench-launch.sh.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return 0; }
