// frmc SOURCE.json OUT.frm [--version 3|4|5]: compiles a form.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "forms/frm.h"
#include "items.h"
#include "platform/files.h"
#include "source.h"
#include "support/memory.h"
#include "write.h"

namespace {

constexpr const char* USAGE =
    "usage: frmc SOURCE.json OUT.frm [--version 3|4|5]\n"
    "\n"
    "Compiles a form from its source, a JSON object as frmdump prints it; what is left out takes its default. The\n"
    "version of the file is that of --version, or else that of the source, or else 5. A source that such a file can't\n"
    "hold is refused, and OUT.frm stays as it was.\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

struct options {
    const char* source;
    const char* out;
    int version; // 0: not told
    bool help;
};

bool parse(int count, char** arguments, options* o) {
    *o = {nullptr, nullptr, 0, false};
    for (int i = 1; i < count; ++i) {
        const char* a = arguments[i];
        if (std::strcmp(a, "--help") == 0) {
            o->help = true;
        } else if (std::strcmp(a, "--version") == 0) {
            const char* v = ++i < count ? arguments[i] : "";
            if (std::strlen(v) != 1 || v[0] < '0' + FRM_OLDEST || v[0] > '0' + FRM_NEWEST) return false;
            o->version = v[0] - '0';
        } else if (a[0] == '-' || o->out != nullptr) {
            return false;
        } else {
            (o->source == nullptr ? o->source : o->out) = a;
        }
    }
    return o->help || o->out != nullptr;
}

bool read_text(const char* path, std::string* text) {
    size_t size = 0;
    const mem_guard<char> bytes(files_is_directory(path) ? nullptr : files_load(path, SIZE_MAX / 2, &size));
    if (bytes) text->assign(bytes.get(), size);
    return static_cast<bool>(bytes);
}

// Written beside the old one, which it replaces as a whole.
bool write_bytes(const char* path, const std::vector<uint8_t>& bytes) {
    char fresh[FILES_PATH_SIZE];
    if (!files_replace_begin(path, fresh, sizeof fresh)) return false;
    file_stream* stream = stream_open(fresh, "wb");
    bool good = stream != nullptr && stream_write(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    if (stream != nullptr && stream_close(stream) != 0) good = false;
    if (good) return files_replace_commit();
    files_replace_abandon();
    return false;
}

// Whether a program can load what has been made. Gives the status.
int check(const std::vector<uint8_t>& bytes) {
    constexpr int NO_MEMORY = 10;
    FI_form* form = fi_new_form_record();
    if (form == nullptr) return NO_MEMORY;
    const int status = frm_read(bytes.data(), bytes.size(), form);
    fi_free_form_record(form);
    return status;
}

bool compile(const options& o, std::vector<uint8_t>* bytes, std::string* problem) {
    std::string text;
    nlohmann::ordered_json source;
    if (!read_text(o.source, &text)) {
        *problem = "can't be read";
        return false;
    }
    if (!parse_source(text, &source, problem)) return false;
    const int version = o.version != 0 ? o.version : source_version(source, FRM_NEWEST, problem);
    FI_form* form = version != 0 ? fi_new_form_record() : nullptr;
    if (form == nullptr) return false;
    const bool made = read_source(source, version, form, problem) && write_form(form, bytes, problem);
    fi_free_form_record(form);
    const int status = made ? check(*bytes) : 0;
    if (status != 0) *problem = "the form can't be loaded, " + status_text(status);
    return made && status == 0;
}

} // namespace

int main(int count, char** arguments) {
    options o;
    if (!parse(count, arguments, &o)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    if (o.help) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    std::vector<uint8_t> bytes;
    std::string problem;
    if (!compile(o, &bytes, &problem)) {
        std::fprintf(stderr, "frmc: %s: %s\n", o.source, problem.empty() ? "out of memory" : problem.c_str());
        return 1;
    }
    if (!write_bytes(o.out, bytes)) {
        std::fprintf(stderr, "frmc: %s: can't be written\n", o.out);
        return 1;
    }
    return 0;
}
