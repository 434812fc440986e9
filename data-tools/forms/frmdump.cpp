// frmdump FILE.frm: the form as one JSON object, as frmc takes it.
#include <cstdio>
#include <string>

#include "dump.h"
#include "forms/frm.h"
#include "items.h"
#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr const char* USAGE = "usage: frmdump FILE.frm\n"
                              "\n"
                              "Prints the form as one JSON object, which frmc compiles to the same form.\n"
                              "\n"
                              "Exit status: 0 done, 1 the file can't be read (the message tells the status that a\n"
                              "program would get) or the output not be written, 2 wrong usage.\n";

int complain(const char* path, int status) {
    std::fprintf(stderr, "frmdump: %s: %s\n", path, status_text(status).c_str());
    return 1;
}

int dump(const char* path) {
    constexpr int NOT_FOUND = 1;
    constexpr int NO_MEMORY = 10;
    size_t size = 0;
    const mem_guard<char> bytes(files_is_directory(path) ? nullptr : files_load(path, SIZE_MAX / 2, &size));
    if (!bytes) return complain(path, NOT_FOUND);
    FI_form* form = fi_new_form_record();
    if (form == nullptr) return complain(path, NO_MEMORY);
    const int status = frm_read(reinterpret_cast<const uint8_t*>(bytes.get()), size, form);
    if (status == 0)
        std::printf("%s\n", dump_form(form).dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    fi_free_form_record(form);
    if (status != 0) return complain(path, status);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return 0;
    std::fputs("frmdump: the output can't be written\n", stderr);
    return 1;
}

} // namespace

int main(int count, char** arguments) {
    if (count == 2 && std::string(arguments[1]) == "--help") {
        std::fputs(USAGE, stdout);
        return 0;
    }
    if (count != 2 || arguments[1][0] == '-') {
        std::fputs(USAGE, stderr);
        return 2;
    }
    return dump(arguments[1]);
}
