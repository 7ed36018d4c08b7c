#include "platform/registry.h"

#include <tuple>

#include "foundation/paths.h"
#include "platform/fake/fake_control.h"
#include "platform/fake/registry_control.h"

namespace nv::fake {
std::vector<RegistryOpen> registry_opens;
std::map<std::wstring, std::wstring> environment_variables;
namespace {

struct FakeKey {
  std::wstring name;  // the last component as written
  std::map<std::wstring, platform::RegistryValue> values;  // by folded name
};
using KeyId = std::tuple<platform::RegistryRoot, RegistryView, std::wstring>;  // folded path
std::map<KeyId, FakeKey> keys;

void reset() {
  registry_opens.clear();
  environment_variables.clear();
  keys.clear();
}
const ResetRegistration registration{&reset};

RegistryView effective_view(platform::RegistryRoot root, RegistryView view) {
  return root == platform::RegistryRoot::current_user ? RegistryView::view64 : view;
}
RegistryView view_of_access(platform::RegistryRoot root, unsigned access) {
  return effective_view(root, (access & platform::key_wow64_32key) ? RegistryView::view32 : RegistryView::view64);
}

// Separators collapsed at both ends and between components, as the real
// registry does not accept them anyway; only the spelling of names matters here.
std::wstring trimmed(const std::wstring& path) {
  std::size_t begin = path.find_first_not_of(L'\\');
  if (begin == std::wstring::npos) return {};
  std::size_t end = path.find_last_not_of(L'\\');
  return path.substr(begin, end - begin + 1);
}

FakeKey& make_key(platform::RegistryRoot root, RegistryView view, const std::wstring& key) {
  const RegistryView real_view = effective_view(root, view);
  const std::wstring path = trimmed(key);
  FakeKey* made = nullptr;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = path.find(L'\\', start);
    const std::wstring so_far = path.substr(0, end);
    FakeKey& entry = keys[{root, real_view, fold_ascii(so_far)}];
    if (entry.name.empty()) entry.name = path.substr(start, end == std::wstring::npos ? end : end - start);
    made = &entry;
    if (end == std::wstring::npos) break;
    start = end + 1;
  }
  return *made;
}

const FakeKey* find_key(platform::RegistryRoot root, unsigned access, const std::wstring& key) {
  auto it = keys.find({root, view_of_access(root, access), fold_ascii(trimmed(key))});
  return it == keys.end() ? nullptr : &it->second;
}

}  // namespace

void add_registry_key(platform::RegistryRoot root, RegistryView view, const std::wstring& key) {
  make_key(root, view, key);
}

void set_registry_value(platform::RegistryRoot root, RegistryView view, const std::wstring& key,
                        const std::wstring& name, std::uint32_t type, const std::vector<std::uint8_t>& data) {
  make_key(root, view, key).values[fold_ascii(name)] = {true, type, data};
}

void set_registry_text(platform::RegistryRoot root, RegistryView view, const std::wstring& key,
                       const std::wstring& name, const std::wstring& text, std::uint32_t type) {
  std::vector<std::uint8_t> data;
  for (wchar_t unit : text) {
    data.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(unit) & 0xFF));
    data.push_back(static_cast<std::uint8_t>((static_cast<std::uint32_t>(unit) >> 8) & 0xFF));
  }
  data.push_back(0);
  data.push_back(0);
  set_registry_value(root, view, key, name, type, data);
}

void set_registry_text_both_views(platform::RegistryRoot root, const std::wstring& key, const std::wstring& name,
                                  const std::wstring& text) {
  set_registry_text(root, RegistryView::view32, key, name, text);
  set_registry_text(root, RegistryView::view64, key, name, text);
}

}  // namespace nv::fake

namespace nv::platform {

std::optional<std::vector<std::wstring>> registry_subkeys(RegistryRoot root, const std::wstring& subkey,
                                                          unsigned access) {
  fake::registry_opens.push_back({root, subkey, access});
  if (!fake::find_key(root, access, subkey)) return std::nullopt;
  const auto view = fake::view_of_access(root, access);
  const std::wstring prefix = fold_ascii(fake::trimmed(subkey)) + L"\\";
  std::vector<std::wstring> names;
  for (const auto& [id, key] : fake::keys) {
    const auto& [key_root, key_view, path] = id;
    if (key_root != root || key_view != view || path.size() <= prefix.size()) continue;
    if (path.compare(0, prefix.size(), prefix) != 0) continue;
    if (path.find(L'\\', prefix.size()) != std::wstring::npos) continue;  // not a direct subkey
    if (key.name.size() >= 512) continue;  // does not fit RegEnumKeyExW's buffer: that index fails
    names.push_back(key.name);
  }
  return names;
}

RegistryValue registry_value(RegistryRoot root, const std::wstring& subkey, const std::wstring& name,
                             unsigned access) {
  fake::registry_opens.push_back({root, subkey, access});
  const fake::FakeKey* key = fake::find_key(root, access, subkey);
  if (!key) return {};
  auto it = key->values.find(fold_ascii(name));
  if (it == key->values.end() || it->second.data.size() > registry_value_bytes) return {};
  return it->second;
}

std::wstring expand_environment_strings(const std::wstring& text) {
  // %NAME% of a known variable is replaced; anything else stays as written.
  std::wstring result;
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t open = text.find(L'%', i);
    if (open == std::wstring::npos) break;
    const std::size_t close = text.find(L'%', open + 1);
    if (close == std::wstring::npos) break;
    result.append(text, i, open - i);
    const std::wstring name = fold_ascii(text.substr(open + 1, close - open - 1));
    bool found = false;
    for (const auto& [variable, value] : fake::environment_variables) {
      if (fold_ascii(variable) == name) {
        result += value;
        found = true;
        break;
      }
    }
    if (found) {
      i = close + 1;
    } else {
      result += L'%';
      result += text.substr(open + 1, close - open - 1);
      i = close;  // the closing mark may open the next name
    }
  }
  result.append(text, i, std::wstring::npos);
  if (result.size() + 1 > 32768) return {};
  return result;
}

}  // namespace nv::platform
