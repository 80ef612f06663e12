#include "accessibility.h"

#import <ApplicationServices/ApplicationServices.h>
#import <Foundation/Foundation.h>

#include "conversions.h"
#include "halyward/system/atomic_file.hpp"

#include <filesystem>

namespace halyward::mac {

bool accessibilityTrustedNow() { return AXIsProcessTrusted(); }

bool accessibilityTrusted(const std::string& grantFile,
                          const std::function<void(std::string_view)>& say) {
    if (AXIsProcessTrusted()) return true;
    std::error_code unreadable;
    if (std::filesystem::exists(grantFile, unreadable)) {
        if (say) {
            say("Halyward needs the Accessibility permission to move windows: System Settings › "
                "Privacy & Security › Accessibility, then switch Halyward on.");
        }
        return false;
    }
    NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
    const bool trusted = AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
    NSISO8601DateFormatter* format = [[NSISO8601DateFormatter alloc] init];
    try {
        AtomicFile::write("asked " + toStdString([format stringFromDate:[NSDate date]]) + "\n",
                          grantFile, 0644);
    } catch (const std::exception& failure) {
        // Without the record the prompt comes again at the next start, which is no harm.
        if (say) say(std::string("Cannot record the Accessibility prompt: ") + failure.what());
    }
    return trusted;
}

}  // namespace halyward::mac
