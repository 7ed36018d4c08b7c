// The native build has no registry: no key can be opened.
#include "platform/registry.h"

#include <cstdlib>

#include "platform/portable/native_path.h"

namespace nv::platform {

std::optional<std::vector<std::wstring>> registry_subkeys(RegistryRoot, const std::wstring&,
                                                          unsigned) {
  return std::nullopt;
}

RegistryValue registry_value(RegistryRoot, const std::wstring&, const std::wstring&, unsigned) {
  return {};
}
std::optional<std::uint32_t> registry_dword(RegistryRoot, const std::wstring&,
                                            const std::wstring&) {
  return std::nullopt;
}

std::wstring expand_environment_strings(const std::wstring& text) {
  std::wstring result;
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t open = text.find(L'%', i);
    const std::size_t close = open == std::wstring::npos ? open : text.find(L'%', open + 1);
    if (close == std::wstring::npos) break;
    result.append(text, i, open - i);
    const std::wstring name = text.substr(open + 1, close - open - 1);
    const char* value = name.empty() ? nullptr : std::getenv(portable::narrow(name).c_str());
    if (value) {
      result += portable::widen(value);
      i = close + 1;
    } else {
      result += L'%';
      result += name;
      i = close;
    }
  }
  result.append(text, i, std::wstring::npos);
  if (result.size() + 1 > 32768) return {};
  return result;
}

}  // namespace nv::platform
