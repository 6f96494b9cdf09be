#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dump {

/// One thing in a file, with the bytes that it takes.
struct Node {
    enum Kind {
        Root,
        Object,              ///< a new object; type, id
        Null,
        Reference,           ///< to an object that stood before; id
        Type,                ///< a type definition; type, module, spec, id
        TypeReference,       ///< a type as an object, defined before; id
        StoredField,         ///< of a type definition; name, type
        Field,               ///< of an object; name, type
        Value                ///< one value, or a run of equal ones; type, values, count
    };

    Kind kind = Root;
    size_t offset = 0;
    size_t end = 0;
    std::string name;
    std::string type;
    std::string module;
    std::optional<unsigned int> spec;        ///< of a type, where it was read
    long long id = 0;                        ///< 0 where there is none
    std::vector<std::string> values;         ///< the first ones
    size_t count = 0;
    std::string note;
    std::vector<std::unique_ptr<Node>> children;

    Node& Add(Kind childKind, size_t at) {
        children.push_back(std::make_unique<Node>());
        Node& child = *children.back();
        child.kind = childKind;
        child.offset = child.end = at;
        return child;
    }
};

/// What a reading of a whole file came to.
struct Result {
    Node root;
    bool tracked = true;
    bool whole = false;
    size_t stoppedAt = 0;
    std::string reason;                      ///< empty where the file was read to its end
};

struct Options {
    bool json = false;
    bool all = false;                        ///< every value of a run
    bool plugins = true;
    int state = -1;                          ///< 0 and 1 as told; -1 finds out
};

/// Reads bytes as the library's coder would, and keeps what it meets.
Result Read(const std::string& bytes, bool tracked, const Options& options);

void PrintText(const std::string& file, size_t size, const Result& result);
void PrintJson(const std::string& file, size_t size, const Result& result);

}
