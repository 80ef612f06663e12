#include "mac_platform.h"

#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <unistd.h>

namespace halyward::mac {

namespace {

// Owns a resumed file-system event source; cancelling it closes its descriptor.
class DispatchFileWatch final : public FileWatch {
public:
    explicit DispatchFileWatch(dispatch_source_t source) : source(source) {}
    ~DispatchFileWatch() override { dispatch_source_cancel(source); }
    DispatchFileWatch(const DispatchFileWatch&) = delete;
    DispatchFileWatch& operator=(const DispatchFileWatch&) = delete;

private:
    dispatch_source_t source;
};

}  // namespace

std::unique_ptr<FileWatch> watchFileEvents(const std::string& path, std::function<void()> changed) {
    // O_EVTONLY asks only for events: the descriptor neither reads the file nor keeps its
    // volume from being unmounted.
    const int descriptor = ::open(path.c_str(), O_EVTONLY);
    if (descriptor < 0) return nullptr;
    dispatch_source_t source = dispatch_source_create(
        DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor),
        DISPATCH_VNODE_WRITE | DISPATCH_VNODE_RENAME | DISPATCH_VNODE_DELETE, dispatch_get_main_queue());
    if (!source) {
        ::close(descriptor);
        return nullptr;
    }
    dispatch_source_set_event_handler(source, ^{
        changed();
    });
    // The descriptor stays open for as long as the source may deliver events for it.
    dispatch_source_set_cancel_handler(source, ^{
        ::close(descriptor);
    });
    dispatch_resume(source);
    return std::make_unique<DispatchFileWatch>(source);
}

}  // namespace halyward::mac
