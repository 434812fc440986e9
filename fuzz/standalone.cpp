// Replays files through a fuzz target without libFuzzer: each argument is a file, or a directory of files. A crash, a
// sanitizer report or an empty corpus fails the run.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    return 1;
}

int main(int count, char** arguments) {
    int replayed = 0;
    for (int i = 1; i < count; ++i) {
        std::error_code error;
        if (!std::filesystem::is_directory(arguments[i], error)) {
            replayed += replay(arguments[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(arguments[i], error)) {
            if (entry.is_regular_file()) replayed += replay(entry.path());
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
