#pragma once
// The one way this system reports an unexpected failure: a standard exception
// carrying a short fixed English text. The texts are never shown to the user;
// the entry turns every one of them into its single message and exit code 1.
#include <stdexcept>

namespace nv {

namespace failure {
// Launch core
inline constexpr const char* cannot_save_settings = "Cannot save settings";
inline constexpr const char* browser_arguments = "Cannot prepare embedded-browser appearance";
inline constexpr const char* launch_token = "Cannot inspect launch token";
inline constexpr const char* launch_elevation = "Cannot inspect launch elevation";
// Configuration store
inline constexpr const char* create_configuration = "Cannot create configuration";
inline constexpr const char* replace_configuration = "Cannot replace configuration";
// Encodings and digests
inline constexpr const char* utf8 = "utf8";
inline constexpr const char* base64 = "base64";
inline constexpr const char* hash = "hash";
inline constexpr const char* read_application_file = "Cannot read application file";
inline constexpr const char* sha256_unavailable = "SHA256 unavailable";
inline constexpr const char* initialize_sha256 = "Cannot initialize SHA256";
inline constexpr const char* hash_application_file = "Cannot hash application file";
inline constexpr const char* finish_fingerprint = "Cannot finish application fingerprint";
// JSON
inline constexpr const char* json_size = "json size";
inline constexpr const char* json_object = "json object";
inline constexpr const char* json_string = "json string";
inline constexpr const char* json_control = "json control";
inline constexpr const char* json_escape = "json escape";
inline constexpr const char* json_colon = "json colon";
inline constexpr const char* json_value = "json value";
inline constexpr const char* json_number = "json number";
inline constexpr const char* json_fields = "json fields";
inline constexpr const char* json_end = "json end";
inline constexpr const char* json_comma = "json comma";
inline constexpr const char* json_suffix = "json suffix";
inline constexpr const char* number = "number";
inline constexpr const char* missing_key = "invalid map<K, T> key";
// Paths
inline constexpr const char* exists = "exists";
inline constexpr const char* create_directories = "create_directories";
// Update (placeholders until the updater exists)
inline constexpr const char* update_signature = "update signature";
}  // namespace failure

[[noreturn]] inline void fail(const char* text) { throw std::runtime_error(text); }

}  // namespace nv
