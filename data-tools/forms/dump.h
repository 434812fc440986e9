// A form as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "forms/form.h"

nlohmann::ordered_json dump_form(const FI_form* form);
