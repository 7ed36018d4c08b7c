// nv-release: the issuer's side of the release manifest. It makes the P-256
// key pair, signs latest.jws for an installer, and checks a manifest (and an
// installer) the way the client will. Every manifest it writes has passed the
// client's own parser first, with the key it was signed with.
//
//   nv-release keygen <private.pem>
//   nv-release issue <private.pem> <revision> <version> <installer> <latest.jws>
//                    [--channel stable] [--key-id stable-1] [--release-utc <seconds>]
//   nv-release verify <public key text> <latest.jws> [<installer>] [--channel stable] [--key-id
//   stable-1]
//
// Exit codes: 0 done, 2 bad use, 4 refused or failed (with a one-line reason).
#include <fcntl.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/json.h"
#include "platform/portable/native_path.h"
#include "update/manifest.h"

namespace {

namespace portable = nv::platform::portable;

constexpr int exit_done = 0;
constexpr int exit_usage = 2;
constexpr int exit_refused = 4;

template <auto Free>
struct Deleter {
  template <typename T>
  void operator()(T* p) const {
    Free(p);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using Signature = std::unique_ptr<ECDSA_SIG, Deleter<ECDSA_SIG_free>>;
using Number = std::unique_ptr<BIGNUM, Deleter<BN_free>>;
using File = std::unique_ptr<std::FILE, Deleter<std::fclose>>;

struct Usage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The command's words in order, and its --name value pairs wherever they stand.
struct Arguments {
  std::vector<std::string> words;
  std::map<std::string, std::string> options;
  std::string option(const std::string& name, const std::string& fallback) const {
    const auto found = options.find(name);
    return found == options.end() ? fallback : found->second;
  }
};

Arguments split(int argc, char** argv, std::initializer_list<const char*> allowed) {
  Arguments arguments;
  for (int i = 2; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.rfind("--", 0) != 0) {
      arguments.words.push_back(word);
      continue;
    }
    if (std::find(allowed.begin(), allowed.end(), word) == allowed.end() || i + 1 == argc ||
        !arguments.options.emplace(word, argv[i + 1]).second) {
      throw Usage("unknown, repeated or valueless option " + word);
    }
    ++i;
  }
  return arguments;
}

std::string base64url(const unsigned char* data, std::size_t size) {
  static constexpr char alphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  for (std::size_t i = 0; i < size; i += 3) {
    const std::size_t count = std::min<std::size_t>(size - i, 3);
    std::uint32_t group = static_cast<std::uint32_t>(data[i]) << 16;
    if (count > 1) group |= static_cast<std::uint32_t>(data[i + 1]) << 8;
    if (count > 2) group |= data[i + 2];
    for (std::size_t k = 0; k <= count; ++k) out += alphabet[(group >> (18 - 6 * k)) & 63];
  }
  return out;
}

std::string base64url(const std::string& text) {
  return base64url(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

std::filesystem::path native(const std::string& path) {
  return portable::to_native(portable::widen(path));
}

// Digits only, so that nothing but a number can reach the claims.
std::string decimal(const std::string& text, const char* what) {
  if (text.empty() || text.size() > 12 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    throw std::runtime_error(std::string(what) + " is not a decimal number: " + text);
  }
  return std::to_string(std::stoll(text));
}

std::string quoted(const std::string& utf8) { return nv::json_quote(nv::from_utf8(utf8)); }

// X||Y of a P-256 key, in the form of update_public_key.
std::string public_key_text(EVP_PKEY* key) {
  char group[32] = {};
  std::size_t length = 0;
  if (EVP_PKEY_get_base_id(key) != EVP_PKEY_EC ||
      EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group,
                                     &length) != 1 ||
      std::string(group) != "prime256v1") {
    throw std::runtime_error("the key is not a P-256 key");
  }
  BIGNUM* x = nullptr;
  BIGNUM* y = nullptr;
  const bool got = EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_EC_PUB_X, &x) == 1 &&
                   EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_EC_PUB_Y, &y) == 1;
  const Number owned_x(x), owned_y(y);
  unsigned char point[64];
  if (!got || BN_bn2binpad(x, point, 32) != 32 || BN_bn2binpad(y, point + 32, 32) != 32) {
    throw std::runtime_error("cannot read the public point");
  }
  return base64url(point, sizeof point);
}

Key read_private_key(const std::string& path) {
  const File file(std::fopen(native(path).c_str(), "rb"));
  if (!file) throw std::runtime_error("cannot open " + path);
  Key key(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
  if (!key) throw std::runtime_error("no private key in " + path);
  return key;
}

// ES256 in the raw form of JWS: r then s, 32 bytes each, not DER.
std::string sign(EVP_PKEY* key, const std::string& data) {
  const DigestContext context(EVP_MD_CTX_new());
  std::size_t length = 0;
  if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1 ||
      EVP_DigestSign(context.get(), nullptr, &length,
                     reinterpret_cast<const unsigned char*>(data.data()), data.size()) != 1) {
    throw std::runtime_error("cannot sign");
  }
  std::vector<unsigned char> der(length);
  if (EVP_DigestSign(context.get(), der.data(), &length,
                     reinterpret_cast<const unsigned char*>(data.data()), data.size()) != 1) {
    throw std::runtime_error("cannot sign");
  }
  const unsigned char* cursor = der.data();
  const Signature pair(d2i_ECDSA_SIG(nullptr, &cursor, static_cast<long>(length)));
  const BIGNUM* r = nullptr;
  const BIGNUM* s = nullptr;
  if (pair) ECDSA_SIG_get0(pair.get(), &r, &s);
  unsigned char raw[64];
  if (!r || !s || BN_bn2binpad(r, raw, 32) != 32 || BN_bn2binpad(s, raw + 32, 32) != 32) {
    throw std::runtime_error("cannot sign");
  }
  return base64url(raw, sizeof raw);
}

std::string describe(const nv::ReleaseManifest& manifest) {
  return "revision " + std::to_string(manifest.revision) + ", version " +
         portable::narrow(manifest.version) + ", " + portable::narrow(manifest.path) + ", " +
         std::to_string(manifest.size) + " bytes, sha256 " + manifest.sha256;
}

nv::ReleaseManifest check(const std::string& text, const nv::ManifestRules& rules) {
  try {
    return nv::parse_release_manifest(text, rules);
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string("manifest refused: ") + e.what());
  }
}

int keygen(int argc, char** argv) {
  const Arguments arguments = split(argc, argv, {});
  if (arguments.words.size() != 1) throw Usage("keygen takes one path");
  const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
  if (!key) throw std::runtime_error("cannot generate a key");
  const std::string text = public_key_text(key.get());
  // Readable by its owner only, and never over an existing key.
  const int fd = open(native(arguments.words[0]).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (fd < 0)
    throw std::runtime_error("cannot create " + arguments.words[0] + " (it must not exist)");
  const File file(fdopen(fd, "wb"));
  if (!file) {
    close(fd);
    throw std::runtime_error("cannot write " + arguments.words[0]);
  }
  if (PEM_write_PrivateKey(file.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1) {
    throw std::runtime_error("cannot write " + arguments.words[0]);
  }
  std::cout << text << "\n-DNV_UPDATE_PUBLIC_KEY=" << text << "\n";
  return exit_done;
}

int issue(int argc, char** argv) {
  const Arguments arguments = split(argc, argv, {"--channel", "--key-id", "--release-utc"});
  if (arguments.words.size() != 5) throw Usage("issue takes five arguments");
  const std::string& version = arguments.words[2];
  const std::string& installer = arguments.words[3];
  const std::string& out = arguments.words[4];
  const std::string channel = arguments.option("--channel", nv::build::update_channel);
  const std::string key_id = arguments.option("--key-id", nv::build::update_key_id);

  const Key key = read_private_key(arguments.words[0]);
  const nv::ManifestRules rules{public_key_text(key.get()), channel, key_id};
  const std::string revision = decimal(arguments.words[1], "revision");
  const std::string release_utc = decimal(
      arguments.option("--release-utc", std::to_string(std::time(nullptr))), "--release-utc");
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(native(installer), error);
  if (error) throw std::runtime_error("cannot read " + installer);
  const std::string sha256 = nv::sha256_file_hex(portable::widen(installer));

  const std::string path =
      "/downloads/releases/" + channel + "/" + revision + "/Tenebrix-" + version + "-Setup.exe";
  const std::string header =
      "{\"alg\":\"ES256\",\"typ\":\"TXUPDATE\",\"kid\":" + quoted(key_id) + "}";
  const std::string claims =
      "{\"schema\":1,\"product\":\"tenebrix\",\"channel\":" + quoted(channel) +
      ",\"revision\":" + revision + ",\"releaseUtc\":" + release_utc +
      ",\"size\":" + std::to_string(size) + ",\"sha256\":\"" + sha256 +
      "\",\"path\":" + quoted(path) + ",\"version\":" + quoted(version) + "}";
  const std::string signed_data = base64url(header) + "." + base64url(claims);
  const std::string text = signed_data + "." + sign(key.get(), signed_data);
  const nv::ReleaseManifest manifest = check(text, rules);

  // Whole or not at all: a reader of `out` never sees half a manifest.
  const std::filesystem::path target = native(out);
  std::filesystem::path part = target;
  part += ".part";
  {
    std::ofstream file(part, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + out);
  }
  std::filesystem::rename(part, target);
  std::cout << "issued " << describe(manifest) << "\n";
  return exit_done;
}

int verify(int argc, char** argv) {
  const Arguments arguments = split(argc, argv, {"--channel", "--key-id"});
  if (arguments.words.size() != 2 && arguments.words.size() != 3)
    throw Usage("verify takes two or three arguments");
  const nv::ManifestRules rules{arguments.words[0],
                                arguments.option("--channel", nv::build::update_channel),
                                arguments.option("--key-id", nv::build::update_key_id)};
  std::ifstream file(native(arguments.words[1]), std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + arguments.words[1]);
  // One byte over the limit is enough for the parser to refuse the size.
  std::string text(nv::manifest_size_limit + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  const nv::ReleaseManifest manifest = check(text, rules);

  if (arguments.words.size() == 3) {
    const std::string& installer = arguments.words[2];
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(native(installer), error);
    if (error) throw std::runtime_error("cannot read " + installer);
    if (size != manifest.size) {
      throw std::runtime_error("installer refused: " + std::to_string(size) +
                               " bytes, the manifest says " + std::to_string(manifest.size));
    }
    if (nv::sha256_file_hex(portable::widen(installer)) != manifest.sha256) {
      throw std::runtime_error("installer refused: its sha256 differs from the manifest's");
    }
  }
  std::cout << "ok: " << describe(manifest) << "\n";
  return exit_done;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  try {
    if (command == "keygen") return keygen(argc, argv);
    if (command == "issue") return issue(argc, argv);
    if (command == "verify") return verify(argc, argv);
    throw Usage("no such command: " + command);
  } catch (const Usage& e) {
    std::cerr
        << "nv-release: " << e.what()
        << "\nusage: nv-release keygen <private.pem>\n"
           "       nv-release issue <private.pem> <revision> <version> <installer> <latest.jws>"
           " [--channel c] [--key-id k] [--release-utc s]\n"
           "       nv-release verify <public key> <latest.jws> [<installer>] [--channel c] "
           "[--key-id k]\n";
    return exit_usage;
  } catch (const std::exception& e) {
    std::cerr << "nv-release: " << e.what() << "\n";
    return exit_refused;
  }
}
