#include "platform/dialogs.h"

#include <windows.h>

namespace nv::platform {

int message_box(const std::wstring& text, const std::wstring& title, unsigned flags) {
  return MessageBoxW(nullptr, text.c_str(), title.c_str(), flags);
}

}  // namespace nv::platform
