#include "halyward/config/config_json.hpp"

namespace halyward {

namespace {

JSONValue optionalString(const std::optional<std::string>& value) {
    return value ? JSONValue(*value) : JSONValue();
}

}  // namespace

JSONValue appJSON(const WebAppRecord& record) {
    return JSONObject{
        {"bundleIdentifier", record.spec.bundleIdentifier},
        {"hotkey", optionalString(record.spec.hotkey)},
        {"name", record.spec.name},
        {"slug", record.slug},
        {"tile", optionalString(record.spec.tile)},
        {"url", record.spec.url},
    };
}

JSONValue layoutJSON(std::string_view name, const std::vector<LayoutAssignment>& assignments) {
    JSONArray list;
    list.reserve(assignments.size());
    for (const LayoutAssignment& assignment : assignments) {
        list.emplace_back(JSONObject{{"target", assignment.target}, {"tile", assignment.tile}});
    }
    return JSONObject{{"assignments", std::move(list)}, {"name", name}};
}

JSONValue configJSON(const HalywardConfig& config) {
    JSONArray apps;
    apps.reserve(config.apps.size());
    for (const WebAppRecord& app : config.apps) apps.push_back(appJSON(app));
    JSONArray layouts;
    layouts.reserve(config.layouts.size());
    for (const Layout& layout : config.layouts) {
        layouts.push_back(layoutJSON(layout.name, layout.assignments));
    }
    return JSONObject{
        {"apps", std::move(apps)}, {"layouts", std::move(layouts)}, {"version", config.version}};
}

}  // namespace halyward
