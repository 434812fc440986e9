// The file layer: short names, the order of places, resources.
#include "tools_fixture.h"

namespace {

class ToolFile : public ToolsFixture {
protected:
    static std::string read(const std::string& path) {
        tools_stream stream = tools_fopen(path.c_str(), "rb");
        if (stream == TOOLS_NO_STREAM) return "none";
        char buffer[100];
        size_t size = tools_fread(buffer, 1, sizeof buffer, stream);
        EXPECT_EQ(tools_fclose(stream), 0);
        return std::string(buffer, size);
    }
    void put(const std::string& name, const std::string& text) const { write(name, bytes(text.begin(), text.end())); }
};

} // namespace

TEST_F(ToolFile, ShortNames) {
    const char* names[][2] = {
        {"swiss742b.18", "swis742b.18"},
        {"dutch801b.24", "dutc801b.24"},
        {"mono821b.18", "mono821b.18"}, // eight characters stay
        {"a.b.c", "a_b.c"},
        {".profile", "_profile"},
        {"collapse.icon", "collapse.ico"},
        {"a-long_name.text", "longname.tex"},
        {"a_b_c_d_e.x", "abcde.x"}, // five letters: nothing to cut but the marks
        {"abcdefghijkl", "abcdefgh"},
        {"name.", "name"},
        {"", ""},
    };
    for (const auto& pair : names)
        EXPECT_STREQ(short_file_name(pair[0]), pair[1]) << pair[0];
    std::string endless(5000, 'x');
    EXPECT_EQ(std::string(short_file_name(endless.c_str())).size(), 8U);
}

TEST_F(ToolFile, TakesTheFirstPlaceThatHasIt) {
    std::string path = directory + "/in/swiss742b.18";
    put("in/other", "");
    EXPECT_EQ(read(path), "none");
    put("in/swiss742b.18", "as given");
    EXPECT_EQ(read(path), "as given");
    put("root/swis742b.18", "root");
    std::snprintf(root_dir, sizeof root_dir, "%s/root/", directory.c_str());
    EXPECT_EQ(read(path), "root");
    put("in/swis742b.18", "short");
    EXPECT_EQ(read(path), "short");
    EXPECT_EQ(read(directory + "\\IN\\Swiss742b.18"), "short"); // in the application's form
    EXPECT_EQ(read(std::string(5000, 'x') + "/a"), "none");
}

TEST_F(ToolFile, ResourcesAreReadWithinTheirBounds) {
    const uint8_t text[] = {'r', 'e', 's', 'o', 'u', 'r', 'c', 'e'};
    const tools_resource list[] = {{"A_LONG_NAME_TH", text, sizeof text}};
    tools_set_resources(list, 1);
    put("a_long_name_that_is_cut", "file");
    std::string path = directory + "/a_long_name_that_is_cut";
    EXPECT_TRUE(tools_has_resource(path.c_str()));
    EXPECT_EQ(read(path), "resource");
    tools_stream stream = tools_fopen(path.c_str(), "rb");
    char buffer[20] = "";
    EXPECT_EQ(tools_fseek(stream, 2, FILES_FROM_START), 0);
    EXPECT_EQ(tools_fread(buffer, 2, 2, stream), 4U); // bytes, not items
    EXPECT_STREQ(buffer, "sour");
    EXPECT_EQ(tools_fread(buffer, 1, 20, stream), 2U);
    EXPECT_EQ(tools_fread(buffer, 1, 20, stream), 0U);
    EXPECT_EQ(tools_fseek(stream, 9, FILES_FROM_START), -1);
    EXPECT_EQ(tools_fseek(stream, 0, FILES_FROM_END), -1);
    std::vector<tools_stream> open = {stream};
    while (open.size() < static_cast<size_t>(TOOLS_RESOURCES))
        open.push_back(tools_fopen(path.c_str(), "rb"));
    EXPECT_EQ(read(path), "file"); // no handle is left for the resource
    for (tools_stream one : open)
        EXPECT_EQ(tools_fclose(one), 0);
    EXPECT_EQ(tools_fclose(stream), -1);
    tools_set_resources(nullptr, 0);
    EXPECT_EQ(read(path), "file");
}
