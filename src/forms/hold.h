// Safety against deletion: the one way in which the toolkit survives routines of the application.
//
// Whoever calls out, or calls something that may, and goes on to use a gadget or form afterwards, holds it meanwhile:
//
//     fi_hold hold(gadget);
//     fi_notify(gadget, value);
//     if (hold.gone()) return;
//
// A held gadget or form that is deleted loses its parts, its place in group and tables, and its strings, and is marked
// dead; the record itself is freed when the last hold ends. So gone() can always be asked, and nothing else may be done
// with what is gone. A hold on a gadget holds its form too: when the form goes, so does the gadget.
#pragma once

#include "forms/form.h"

class fi_hold {
public:
    explicit fi_hold(FI_gadget* held); // null: only the form, and there is none
    explicit fi_hold(FI_form* held);
    ~fi_hold();
    fi_hold(const fi_hold&) = delete;
    fi_hold& operator=(const fi_hold&) = delete;

    bool gone() const; // it has been deleted

private:
    FI_gadget* gadget;
    FI_form* form;
};
