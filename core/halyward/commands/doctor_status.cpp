#include "halyward/commands/doctor_status.hpp"

namespace halyward {

std::string doctorPathLines(const PlatformPaths& paths) {
    return "Configuration: " + paths.configFile + "\nControl socket: " + paths.socketFile +
           "\nState folder: " + paths.stateDirectory;
}

}  // namespace halyward
