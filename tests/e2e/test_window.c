/* X clients for the running app's end-to-end tests, one per mode:
 *   test_window window NAME WxH+X+Y [--inc WxH] [--min WxH] [--maximized] [--csd N]
 *       a plain application window: WM_CLASS (NAME, Name), takes the focus, _NET_WM_PID,
 *       optional size increments or minimum size, closes on WM_DELETE_WINDOW; --csd N draws
 *       its own frame with an N-pixel shadow, as toolkits with client-side decorations do
 *       (no server-side decorations, _GTK_FRAME_EXTENTS N on every side); a startup id
 *       from the launcher (DESKTOP_STARTUP_ID) becomes its _NET_STARTUP_ID
 *   test_window many COUNT
 *       COUNT small application windows from one client
 *   test_window dock top|bottom|left|right SIZE [START END]
 *       a dock reserving SIZE pixels along one edge of the screen with a partial strut,
 *       over the whole edge or the pixels START to END along it
 *   test_window grab KEY MODIFIERS
 *       holds a passive grab of KEY (a keysym name) with MODIFIERS ("ctrl+alt") on the root
 *       window; prints "held" and waits, or exits 1 when another client holds it
 * Each prints "ready" once its window is mapped (or its grab is made) and runs until killed. */
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int failed;
static int onError(Display* d, XErrorEvent* e) {
    (void)d;
    if (e->error_code == BadAccess) failed = 1;
    return 0;
}

static Atom atom(Display* d, const char* name) { return XInternAtom(d, name, False); }

static int window(Display* d, int argc, char** argv) {
    const char* name = argv[2];
    int w = 400, h = 300, x = 100, y = 100, incW = 0, incH = 0, minW = 0, minH = 0, max = 0;
    long csd = 0;
    sscanf(argv[3], "%dx%d+%d+%d", &w, &h, &x, &y);
    for (int i = 4; i < argc; ++i) {
        if (!strcmp(argv[i], "--inc") && i + 1 < argc) sscanf(argv[++i], "%dx%d", &incW, &incH);
        else if (!strcmp(argv[i], "--min") && i + 1 < argc) sscanf(argv[++i], "%dx%d", &minW, &minH);
        else if (!strcmp(argv[i], "--maximized")) max = 1;
        else if (!strcmp(argv[i], "--csd") && i + 1 < argc) csd = atol(argv[++i]);
    }
    Window win = XCreateSimpleWindow(d, DefaultRootWindow(d), x, y, w, h, 0, 0, 0xd0d8e0);
    char klass[64];
    snprintf(klass, sizeof klass, "%s", name);
    if (klass[0] >= 'a' && klass[0] <= 'z') klass[0] -= 'a' - 'A';
    XClassHint cls = {(char*)name, klass};
    XWMHints hints = {.flags = InputHint | StateHint, .input = True, .initial_state = NormalState};
    XSizeHints size = {.flags = USPosition | USSize, .x = x, .y = y, .width = w, .height = h};
    if (incW > 0) {
        size.flags |= PResizeInc | PBaseSize;
        size.width_inc = incW;
        size.height_inc = incH;
        size.base_width = 4;
        size.base_height = 4;
    }
    if (minW > 0) {
        size.flags |= PMinSize;
        size.min_width = minW;
        size.min_height = minH;
    }
    XSetWMProperties(d, win, NULL, NULL, argv, argc, &size, &hints, &cls);
    XStoreName(d, win, name);
    long pid = getpid();
    XChangeProperty(d, win, atom(d, "_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                    (unsigned char*)&pid, 1);
    /* As toolkits do when a launcher gave them a startup id. */
    const char* startup = getenv("DESKTOP_STARTUP_ID");
    if (startup && *startup) {
        XChangeProperty(d, win, atom(d, "_NET_STARTUP_ID"), atom(d, "UTF8_STRING"), 8,
                        PropModeReplace, (const unsigned char*)startup, (int)strlen(startup));
    }
    if (max) {
        Atom states[] = {atom(d, "_NET_WM_STATE_MAXIMIZED_VERT"), atom(d, "_NET_WM_STATE_MAXIMIZED_HORZ")};
        XChangeProperty(d, win, atom(d, "_NET_WM_STATE"), XA_ATOM, 32, PropModeReplace,
                        (unsigned char*)states, 2);
    }
    if (csd > 0) {
        long extents[4] = {csd, csd, csd, csd};
        XChangeProperty(d, win, atom(d, "_GTK_FRAME_EXTENTS"), XA_CARDINAL, 32, PropModeReplace,
                        (unsigned char*)extents, 4);
        long motif[5] = {2, 0, 0, 0, 0}; /* decorations: none */
        Atom motifAtom = atom(d, "_MOTIF_WM_HINTS");
        XChangeProperty(d, win, motifAtom, motifAtom, 32, PropModeReplace, (unsigned char*)motif, 5);
    }
    Atom del = atom(d, "WM_DELETE_WINDOW");
    XSetWMProtocols(d, win, &del, 1);
    XSelectInput(d, win, StructureNotifyMask);
    XMapWindow(d, win);
    for (;;) {
        XEvent e;
        XNextEvent(d, &e);
        if (e.type == MapNotify) {
            printf("ready\n");
            fflush(stdout);
        }
        if (e.type == ClientMessage && (Atom)e.xclient.data.l[0] == del) return 0;
    }
}

static int dock(Display* d, const char* edge, int extent, int start, int end) {
    const int sw = DisplayWidth(d, DefaultScreen(d)), sh = DisplayHeight(d, DefaultScreen(d));
    const int horizontal = !strcmp(edge, "top") || !strcmp(edge, "bottom");
    if (end <= start) end = (horizontal ? sw : sh) - 1;
    long strut[12] = {0};
    int x = start, y = 0, w = end - start + 1, h = extent;
    if (!strcmp(edge, "top")) { strut[2] = extent; strut[8] = start; strut[9] = end; }
    else if (!strcmp(edge, "bottom")) { strut[3] = extent; strut[10] = start; strut[11] = end; y = sh - extent; }
    else if (!strcmp(edge, "left")) { strut[0] = extent; strut[4] = start; strut[5] = end; x = 0; y = start; w = extent; h = end - start + 1; }
    else { strut[1] = extent; strut[6] = start; strut[7] = end; x = sw - extent; y = start; w = extent; h = end - start + 1; }
    Window win = XCreateSimpleWindow(d, DefaultRootWindow(d), x, y, w, h, 0, 0, 0x303030);
    Atom type = atom(d, "_NET_WM_WINDOW_TYPE_DOCK");
    XChangeProperty(d, win, atom(d, "_NET_WM_WINDOW_TYPE"), XA_ATOM, 32, PropModeReplace,
                    (unsigned char*)&type, 1);
    XChangeProperty(d, win, atom(d, "_NET_WM_STRUT_PARTIAL"), XA_CARDINAL, 32, PropModeReplace,
                    (unsigned char*)strut, 12);
    XSelectInput(d, win, StructureNotifyMask);
    XMapWindow(d, win);
    for (;;) {
        XEvent e;
        XNextEvent(d, &e);
        if (e.type == MapNotify) {
            printf("ready\n");
            fflush(stdout);
        }
    }
    return 0;
}

static int many(Display* d, int count) {
    for (int i = 0; i < count; ++i) {
        Window win = XCreateSimpleWindow(d, DefaultRootWindow(d), 10 + i % 50 * 20, 10 + i / 50 * 20,
                                         120, 80, 0, 0, 0xa0a8b0);
        XClassHint cls = {"many", "Many"};
        XSetClassHint(d, win, &cls);
        XMapWindow(d, win);
    }
    XSync(d, False);
    printf("ready\n");
    fflush(stdout);
    for (;;) {
        XEvent e;
        XNextEvent(d, &e);
    }
    return 0;
}

static int grab(Display* d, const char* key, const char* modifiers) {
    unsigned int mods = 0;
    if (strstr(modifiers, "ctrl")) mods |= ControlMask;
    if (strstr(modifiers, "alt")) mods |= Mod1Mask;
    if (strstr(modifiers, "super")) mods |= Mod4Mask;
    if (strstr(modifiers, "shift")) mods |= ShiftMask;
    XSetErrorHandler(onError);
    KeyCode code = XKeysymToKeycode(d, XStringToKeysym(key));
    XGrabKey(d, code, mods, DefaultRootWindow(d), False, GrabModeAsync, GrabModeAsync);
    XSync(d, False);
    if (failed) return 1;
    printf("ready\n");
    fflush(stdout);
    for (;;) {
        XEvent e;
        XNextEvent(d, &e);
    }
    return 0;
}

int main(int argc, char** argv) {
    Display* d = XOpenDisplay(NULL);
    if (!d || argc < 3) return 2;
    if (!strcmp(argv[1], "window") && argc >= 4) return window(d, argc, argv);
    if (!strcmp(argv[1], "dock") && argc >= 4)
        return dock(d, argv[2], atoi(argv[3]), argc > 5 ? atoi(argv[4]) : 0, argc > 5 ? atoi(argv[5]) : 0);
    if (!strcmp(argv[1], "many")) return many(d, atoi(argv[2]));
    if (!strcmp(argv[1], "grab") && argc >= 4) return grab(d, argv[2], argv[3]);
    return 2;
}
