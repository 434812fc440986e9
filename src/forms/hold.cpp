// Holds on gadgets and forms; the last one frees what has been deleted meanwhile.
#include "forms/hold.h"

#include "forms/ops.h"
#include "support/memory.h"

fi_hold::fi_hold(FI_gadget* held) : gadget(held), form(held != nullptr ? held->form : nullptr) {
    if (gadget != nullptr) ++gadget->holds;
    if (form != nullptr) ++form->holds;
}

fi_hold::fi_hold(FI_form* held) : gadget(nullptr), form(held) {
    if (form != nullptr) ++form->holds;
}

fi_hold::~fi_hold() {
    if (gadget != nullptr && --gadget->holds == 0 && gadget->dead != 0) mem_free(gadget);
    if (form != nullptr && --form->holds == 0 && form->dead != 0) mem_free(form);
}

bool fi_hold::gone() const {
    return (gadget != nullptr && gadget->dead != 0) || (form != nullptr && form->dead != 0);
}
