#pragma once
// One owner for GObject references, so every toolkit object the front end keeps is released
// exactly once, whichever way its owner goes away.

#include <glib-object.h>

#include <utility>

namespace halyward::gtk {

/// Owns one strong reference to a GObject (or none). Not copyable; moving transfers the
/// reference.
template <typename T>
class GObjectPtr {
public:
    GObjectPtr() = default;
    /// Takes over a reference the caller already owns (a "transfer full" return value).
    static GObjectPtr adopt(T* object) { return GObjectPtr(object); }
    /// Adds a reference of its own; a floating reference is sunk, so a widget kept here
    /// stays alive while containers take it and let it go.
    static GObjectPtr retain(T* object) {
        if (object != nullptr) {
            g_object_ref_sink(object);
        }
        return GObjectPtr(object);
    }

    GObjectPtr(const GObjectPtr&) = delete;
    GObjectPtr& operator=(const GObjectPtr&) = delete;
    GObjectPtr(GObjectPtr&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    GObjectPtr& operator=(GObjectPtr&& other) noexcept {
        if (this != &other) {
            reset();
            object = std::exchange(other.object, nullptr);
        }
        return *this;
    }
    ~GObjectPtr() { reset(); }

    void reset() {
        if (object != nullptr) {
            g_object_unref(std::exchange(object, nullptr));
        }
    }

    T* get() const { return object; }
    T* operator->() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    explicit GObjectPtr(T* adopted) : object(adopted) {}
    T* object = nullptr;
};

/// Disconnects a signal handler when it goes out of scope, unless the instance is gone by
/// then (held through a weak pointer).
class SignalConnection {
public:
    SignalConnection() = default;
    SignalConnection(gpointer instance, gulong handler) : instance(instance), handler(handler) {
        if (instance != nullptr) {
            g_object_add_weak_pointer(G_OBJECT(instance), &this->instance);
        }
    }
    SignalConnection(const SignalConnection&) = delete;
    SignalConnection& operator=(const SignalConnection&) = delete;
    ~SignalConnection() { disconnect(); }

    void disconnect() {
        if (instance != nullptr) {
            g_object_remove_weak_pointer(G_OBJECT(instance), &instance);
            if (handler != 0) {
                g_signal_handler_disconnect(instance, handler);
            }
            instance = nullptr;
            handler = 0;
        }
    }

private:
    gpointer instance = nullptr;
    gulong handler = 0;
};

}  // namespace halyward::gtk
