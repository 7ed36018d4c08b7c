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
// Atomic writes
inline constexpr const char* update_temporary_file = "update temporary file";
// Release manifest
inline constexpr const char* update_manifest_size = "update manifest size";
inline constexpr const char* update_manifest = "update manifest";
inline constexpr const char* update_header = "update header";
inline constexpr const char* update_public_key = "update public key";
inline constexpr const char* update_algorithm = "update algorithm";
inline constexpr const char* update_signature = "update signature";
inline constexpr const char* update_claims = "update claims";
inline constexpr const char* update_bounds = "update bounds";
inline constexpr const char* update_hash = "update hash";
inline constexpr const char* update_path = "update path";
// Feed client
inline constexpr const char* update_event = "update event";
inline constexpr const char* update_network = "update network";
inline constexpr const char* update_redirect_policy = "update redirect policy";
inline constexpr const char* update_context = "update context";
inline constexpr const char* update_callback = "update callback";
inline constexpr const char* update_deadline = "update deadline";
inline constexpr const char* update_feed_unavailable = "update feed unavailable";
// Check schedule
inline constexpr const char* update_check_state = "update check state";
// Installer download
inline constexpr const char* download_cancelled = "download cancelled";
inline constexpr const char* download_network = "download network";
inline constexpr const char* download_unavailable = "download unavailable";
inline constexpr const char* download_file = "download file";
inline constexpr const char* download_incomplete = "download incomplete";
inline constexpr const char* download_size = "download size";
}  // namespace failure

[[noreturn]] inline void fail(const char* text) { throw std::runtime_error(text); }

}  // namespace nv
