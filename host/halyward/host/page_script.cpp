#include "halyward/host/page_script.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"

namespace halyward {

namespace {

// The page's notification constructor is replaced by one that always reports permission
// granted and hands title and body to the host, which posts the desktop notification
// itself; the page never learns whether the user allowed notifications.
constexpr std::string_view kBeforeCSS = "(function() {\n  const css = ";
constexpr std::string_view kBetweenCSSAndScript =
    ";\n"
    "  if (css) {\n"
    "    const style = document.createElement('style');\n"
    "    style.textContent = css;\n"
    "    (document.head || document.documentElement).appendChild(style);\n"
    "  }\n"
    "  const extra = ";
constexpr std::string_view kAfterScript =
    ";\n"
    "  if (extra) { try { (0, eval)(extra); } catch (e) {} }\n"
    "  function post(title, body) {\n"
    "    try { window.webkit.messageHandlers.halywardNotify.postMessage({title: String(title "
    "|| ''), body: String(body || '')}); } catch (e) {}\n"
    "  }\n"
    "  function HalywardNotification(title, options) { post(title, options && options.body); }\n"
    "  HalywardNotification.permission = 'granted';\n"
    "  HalywardNotification.requestPermission = function () { return "
    "Promise.resolve('granted'); };\n"
    "  window.Notification = HalywardNotification;\n"
    "  ";
constexpr std::string_view kEnd = "\n})();";

// Sites often leave "autocomplete" unset, or set it to values that say nothing about the
// field ("on", "off"), so the platform's password autofill cannot tell a login form from a
// search box. The script fills in the standard hints from the field's name, id and
// placeholder, never overriding a hint the site gave on purpose, and keeps doing so for
// forms that single-page sites add later.
constexpr std::string_view kAutofill =
    "(function () {\n"
    "    function meaningful(value) {\n"
    "      const hint = String(value || '').trim().toLowerCase();\n"
    "      return hint !== '' && hint !== 'off' && hint !== 'false' && hint !== 'on';\n"
    "    }\n"
    "    function mark(input) {\n"
    "      if (input.disabled || String(input.type || '').toLowerCase() === 'hidden') return;\n"
    "      if (meaningful(input.getAttribute('autocomplete'))) return;\n"
    "      const hint = [input.name, input.id, input.placeholder]\n"
    "        .map(function (part) { return String(part || '').toLowerCase(); }).join(' ');\n"
    "      const type = String(input.getAttribute('type') || '').trim().toLowerCase();\n"
    "      if (type === 'password') {\n"
    "        input.setAttribute('autocomplete',\n"
    "          /new|confirm|signup|register/.test(hint) ? 'new-password' : 'current-password');\n"
    "      } else if ((type === '' || type === 'email' || type === 'text') &&\n"
    "                 /user|email|login|account/.test(hint)) {\n"
    "        input.setAttribute('autocomplete', 'username');\n"
    "      }\n"
    "    }\n"
    "    function scan(node) {\n"
    "      if (!node || node.nodeType !== 1) return;\n"
    "      if (String(node.tagName).toLowerCase() === 'input') mark(node);\n"
    "      if (node.querySelectorAll) node.querySelectorAll('input').forEach(mark);\n"
    "    }\n"
    "    function start() {\n"
    "      const root = document.documentElement;\n"
    "      if (!root) return;\n"
    "      scan(root);\n"
    "      new MutationObserver(function (records) {\n"
    "        records.forEach(function (record) { record.addedNodes.forEach(scan); });\n"
    "      }).observe(root, {childList: true, subtree: true});\n"
    "    }\n"
    "    if (document.readyState === 'loading') {\n"
    "      document.addEventListener('DOMContentLoaded', start);\n"
    "    } else {\n"
    "      start();\n"
    "    }\n"
    "  })();";

}  // namespace

std::string pageScript(std::string_view customCSS, std::string_view customScript) {
    const std::string css = quoteJSON(customCSS);
    const std::string extra = quoteJSON(customScript);
    const std::string& autofill = passwordAutofillPreparationScript();
    std::string script;
    script.reserve(kBeforeCSS.size() + css.size() + kBetweenCSSAndScript.size() + extra.size() +
                   kAfterScript.size() + autofill.size() + kEnd.size());
    script.append(kBeforeCSS).append(css).append(kBetweenCSSAndScript).append(extra);
    script.append(kAfterScript).append(autofill).append(kEnd);
    return script;
}

const std::string& passwordAutofillPreparationScript() {
    static const std::string script(kAutofill);
    return script;
}

std::string customUserAgent() { return std::string("Halyward/") + HalywardVersion::current; }

}  // namespace halyward
