// Build step: zips template source folders into a Word template (.dotx).
// Usage: zw_pack_template <output.dotx> <folder> [<folder> ...]; a file in a later folder
// replaces the one of the same name in an earlier folder.
#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <output.dotx> <folder> [<folder> ...]\n", argv[0]);
        return 2;
    }
    std::map<std::string, fs::path> files;
    for (int i = 2; i < argc; ++i) {
        const fs::path root(argv[i]);
        for (const auto& item : fs::recursive_directory_iterator(root)) {
            if (item.is_regular_file())
                files[item.path().lexically_relative(root).generic_string()] = item.path();
        }
    }
    // Readers expect the content types first, then the package relationships.
    std::vector<std::string> order;
    for (const char* first : {"[Content_Types].xml", "_rels/.rels"}) {
        if (files.count(first))
            order.push_back(first);
    }
    for (const auto& [name, path] : files) {
        if (std::find(order.begin(), order.end(), name) == order.end())
            order.push_back(name);
    }

    int error = 0;
    zip_t* zip = zip_open(argv[1], ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!zip) {
        std::fprintf(stderr, "%s: cannot create (libzip error %d)\n", argv[1], error);
        return 1;
    }
    std::vector<std::string> contents; // must live until zip_close
    contents.reserve(order.size());
    std::tm stamp{};
    stamp.tm_year = 2024 - 1900;
    stamp.tm_mday = 1;
    const std::time_t fixed = std::mktime(&stamp); // reproducible output
    for (const std::string& name : order) {
        std::ifstream in(files[name], std::ios::binary);
        contents.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        zip_source_t* source =
            zip_source_buffer(zip, contents.back().data(), contents.back().size(), 0);
        const zip_int64_t index =
            source ? zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
        if (index < 0) {
            std::fprintf(stderr, "%s: cannot add %s: %s\n", argv[1], name.c_str(),
                         zip_strerror(zip));
            zip_discard(zip);
            return 1;
        }
        zip_set_file_compression(zip, zip_uint64_t(index), ZIP_CM_DEFLATE, 9);
        zip_file_set_mtime(zip, zip_uint64_t(index), fixed, 0);
    }
    if (zip_close(zip) != 0) {
        std::fprintf(stderr, "%s: %s\n", argv[1], zip_strerror(zip));
        zip_discard(zip);
        return 1;
    }
    return 0;
}
