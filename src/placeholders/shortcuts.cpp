// Shortcut removal does not exist yet: it removes nothing.
#include "launcher/shortcuts.h"

namespace nv {

void remove_shortcuts(const std::wstring&) {}

}  // namespace nv
