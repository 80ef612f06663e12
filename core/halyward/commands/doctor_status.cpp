#include "halyward/commands/doctor_status.hpp"

namespace halyward {

std::string doctorPathLines(const PlatformPaths& paths) {
    return "Configuration: " + paths.configFile + "\nControl socket: " + paths.socketFile +
           "\nState folder: " + paths.stateDirectory;
}

std::string doctorAppLine(const std::optional<JSONValue>& pingPayload) {
    if (!pingPayload) return "Halyward is not running.";
    std::string failed;
    std::size_t count = 0;
    if (const std::optional<JSONObject> payload = pingPayload->objectValue()) {
        if (auto found = payload->find("grabFailures"); found != payload->end()) {
            for (const JSONValue& failure : found->second.arrayValue().value_or(JSONArray{})) {
                const JSONObject entry = failure.objectValue().value_or(JSONObject{});
                const auto field = [&entry](const char* key) {
                    auto value = entry.find(key);
                    return value == entry.end() ? std::string()
                                                : value->second.stringValue().value_or("");
                };
                failed +=
                    (count++ == 0 ? "" : ", ") + field("chord") + " (" + field("reason") + ")";
            }
        }
    }
    if (count == 0) return "Halyward is running and holds all its chords.";
    return "Halyward is running; " +
           std::string(count == 1 ? "one chord" : std::to_string(count) + " chords") +
           " could not be taken: " + failed + ". Every other chord works.";
}

}  // namespace halyward
