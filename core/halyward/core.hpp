#pragma once
/// Every public declaration of the Halyward core library.

#include "halyward/base/command_output.hpp"
#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"
#include "halyward/text/text.hpp"
