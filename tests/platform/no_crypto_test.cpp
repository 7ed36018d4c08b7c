// The native backend with OpenSSL's providers taken away (CTest sets
// OPENSSL_CONF to no_crypto_providers.cnf): neither ECDSA nor SHA-256 exists.
#include <gtest/gtest.h>

#include "foundation/failure.h"
#include "platform/crypto.h"
#include "test_support.h"
#include "update/manifest.h"

namespace nv {
namespace {

TEST(NoCryptoProviders, TheSignatureProviderIsMissedBeforeTheHash) {
  platform::Sha256Digest digest{};
  ASSERT_FALSE(platform::sha256(reinterpret_cast<const std::uint8_t*>("x"), 1, digest))
      << "SHA-256 still works: the test would not tell the two orders apart";
  // A well-formed header for the test build, any payload, a signature of 64 bytes.
  const std::string header = "eyJhbGciOiJFUzI1NiIsInR5cCI6IlRYVVBEQVRFIiwia2lkIjoic3RhYmxlLTEifQ";
  const std::string manifest = header + ".e30." + std::string(86, 'A');
  EXPECT_EQ(test::failure_of([&] { parse_release_manifest(manifest); }), failure::update_algorithm);
}

}  // namespace
}  // namespace nv
