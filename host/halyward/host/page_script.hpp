#pragma once
/// The script every page of a web app runs: the app's own style sheet and script, the
/// notification bridge and the password-autofill preparation.

#include <string>
#include <string_view>

namespace halyward {

/// The injected page script for the app's custom CSS and custom script, each embedded as
/// a JSON string literal (`quoteJSON`), so no text can break out of it.
std::string pageScript(std::string_view customCSS, std::string_view customScript);

/// Marks login fields with "autocomplete" hints so that password autofill recognises them.
const std::string& passwordAutofillPreparationScript();

/// The user agent of a web app that does not ask for the platform's: "Halyward/" and the
/// program's version.
std::string customUserAgent();

}  // namespace halyward
