// Forms as the bytes of form files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "forms/form.h"

// The bytes of a file of form->version. False, with the reason in `problem`, when that version can't hold something.
bool write_form(const FI_form* form, std::vector<uint8_t>* bytes, std::string* problem);
