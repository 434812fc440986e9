// The names in a directory, in the order in which a list shows them: without regard to case.
//
// A row is shown in lower case, unless two names differ in case only; what is opened is the true spelling.
#pragma once

#include "catalog/filters.h"

struct listing_row {
    char* name; // owned: as the system has it
    const char*
        shown; // the same in lower case, in the block of `name`; `name` itself where another row would look alike
};

struct listing {
    listing_row* rows; // owned
    int count, room;
};

enum class listing_kind { files, directories };

// Replaces the rows by what the directory holds of that kind. Of files those that the filter takes; null takes all. A
// directory that can't be read has no rows. False without memory, with no rows.
bool listing_read(listing* list, const char* directory, listing_kind kind, const file_filter* filter);
void listing_free(listing* list);

// The row that is shown as `text`, else the one of that name; -1: there is none.
int listing_find(const listing* list, const char* text);
