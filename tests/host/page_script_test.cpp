#include "halyward/host/page_script.hpp"

#include "halyward/base/json.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using namespace halyward;

namespace {

// The fixed text around the two embedded literals, as the host must inject it.
const std::string kHead = "(function() {\n  const css = ";
const std::string kMiddle =
    ";\n  if (css) {\n    const style = document.createElement('style');\n    style.textContent = "
    "css;\n    (document.head || document.documentElement).appendChild(style);\n  }\n  const "
    "extra = ";
const std::string kShim =
    ";\n  if (extra) { try { (0, eval)(extra); } catch (e) {} }\n  function post(title, body) {\n"
    "    try { window.webkit.messageHandlers.halywardNotify.postMessage({title: String(title || "
    "''), body: String(body || '')}); } catch (e) {}\n  }\n  function HalywardNotification(title, "
    "options) { post(title, options && options.body); }\n  HalywardNotification.permission = "
    "'granted';\n  HalywardNotification.requestPermission = function () { return "
    "Promise.resolve('granted'); };\n  window.Notification = HalywardNotification;\n  ";
const std::string kTail = "\n})();";

// CSS and scripts that try to break out of their string literal.
const std::string kHostile[] = {
    "",
    "a { content: \"\\\"\" } </style><script>alert(1)</script>",
    "body::after { content: '\\\\'; }\n/* \xE2\x80\xA8 and \xE2\x80\xA9 */",
    "\"; alert(1); \"",
    std::string("nul \0 byte", 10),
    "bad utf-8 \xFF\xFE",
};

#ifdef HALYWARD_NODE
// Runs `program` under Node.js; returns its exit status and what it printed.
std::pair<int, std::string> runNode(const std::string& program) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("halyward-page-script-" + std::to_string(::getpid()) + ".js");
    std::ofstream(file, std::ios::binary) << program;
    const std::string command = std::string(HALYWARD_NODE) + " " + file.string() + " 2>&1";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    std::size_t read = 0;
    while ((read = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0)
        output.append(buffer.data(), read);
    const int status = pclose(pipe.release());
    std::filesystem::remove(file);
    return {WEXITSTATUS(status), output};
}

// Just enough of a browser for the page script: a document with inputs, a mutation
// observer, and the message channel, all recording what the script does.
const std::string kBrowser = R"JS(
const posted = [], styles = [];
function input(attrs) {
  const el = {nodeType: 1, tagName: 'INPUT', disabled: !!attrs.disabled, name: attrs.name || '',
    id: attrs.id || '', placeholder: attrs.placeholder || '', type: attrs.type || 'text', attrs: {},
    getAttribute(k) { return k in this.attrs ? this.attrs[k] : null; },
    setAttribute(k, v) { this.attrs[k] = v; }, querySelectorAll() { return []; }};
  if (attrs.type !== undefined) el.attrs.type = attrs.type;
  if (attrs.autocomplete !== undefined) el.attrs.autocomplete = attrs.autocomplete;
  return el;
}
const inputs = [
  input({type: 'password', name: 'pass'}),
  input({type: 'password', id: 'confirm-password'}),
  input({type: 'email', name: 'Email'}),
  input({name: 'login'}),
  input({type: 'text', placeholder: 'Search'}),
  input({type: 'password', autocomplete: 'one-time-code'}),
  input({type: 'password', autocomplete: ' OFF '}),
  input({type: 'password', disabled: true}),
  input({type: 'hidden', name: 'user'}),
];
let observer = null;
const root = {nodeType: 1, tagName: 'HTML', querySelectorAll: () => inputs,
  appendChild(el) { styles.push(el.textContent); }};
globalThis.document = {readyState: 'interactive', head: null, documentElement: root,
  createElement: () => ({}), addEventListener() {}};
globalThis.MutationObserver = function (cb) { observer = cb; this.observe = () => {}; };
globalThis.window = globalThis;
window.webkit = {messageHandlers: {halywardNotify: {postMessage: (m) => posted.push(m)}}};
)JS";
#endif

}  // namespace

TEST(page_script, is_the_fixed_text_around_two_json_literals) {
    for (const auto& css : kHostile) {
        const std::string script = "(a)\u2028'\\";
        EXPECT_EQ(pageScript(css, script), kHead + quoteJSON(css) + kMiddle + quoteJSON(script) +
                                               kShim + passwordAutofillPreparationScript() + kTail);
    }
}

#ifdef HALYWARD_NODE
TEST(page_script, runs_intact_under_a_javascript_engine) {
    for (const auto& css : kHostile) {
        const std::string extra = "globalThis.ran = " + quoteJSON(css) + ";";
        const auto [status, output] = runNode(
            kBrowser + pageScript(css, extra) +
            "\nnew Notification('Hi', {body: 'there'}); new Notification();\n"
            "const late = input({type: 'password', name: 'new_password'});\n"
            "observer([{addedNodes: [late, {nodeType: 3}]}]);\n"
            "console.log(JSON.stringify({styles, ran: globalThis.ran, posted,"
            " late: late.attrs.autocomplete,"
            " permission: Notification.permission,"
            " marks: inputs.map(i => i.attrs.autocomplete === undefined ? null : i.attrs.autocomplete)}));\n");
        ASSERT_EQ(status, 0) << output;
        const JSONValue result = JSONValue::parse(output);
        const std::string expectedStyles = css.empty() ? "[]" : "[" + quoteJSON(css) + "]";
        const std::string expected =
            "{\"late\":\"new-password\",\"marks\":[\"current-password\",\"new-password\",\"username\",\"username\",null,"
            "\"one-time-code\",\"current-password\",null,null],\"permission\":\"granted\","
            "\"posted\":[{\"body\":\"there\",\"title\":\"Hi\"},{\"body\":\"\",\"title\":\"\"}],"
            "\"ran\":" +
            quoteJSON(css) + ",\"styles\":" + expectedStyles + "}";
        // Invalid UTF-8 arrives as U+FFFD, as quoteJSON promises; everything else intact.
        EXPECT_EQ(result, JSONValue::parse(expected)) << css;
    }
}
#endif
