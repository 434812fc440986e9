// What the statuses mean that reading a form gives.
#include "items.h"

#include "forms/forms.h"

std::string status_text(int status) {
    const auto meaning = [=] {
        switch (status) {
        case FI_FORM_FILE_NOT_FOUND: return "there is no such file, or it can't be opened";
        case FI_FORM_FILE_READ_ERROR: return "it is cut, or something in it doesn't fit";
        case FI_LABEL_IN_USE: return "a gadget's label is 0, negative, or stands twice";
        case FI_NO_MEMORY: return "out of memory";
        case FI_INVALID_GADGET_TYPE: return "a gadget of a type that there isn't, or of a wrong one in its place";
        case FI_NOT_A_FORM_FILE: return "it is no form file";
        case FI_FORM_VERSION_TOO_OLD: return "its version is too old";
        case FI_FORM_VERSION_TOO_NEW: return "its version is too new";
        default: return "a number is none, or too large, or groups are too deep";
        }
    };
    return "status " + std::to_string(status) + ": " + meaning();
}
