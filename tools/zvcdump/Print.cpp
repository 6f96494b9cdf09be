#include "Node.h"

#include <algorithm>
#include <cstdio>

namespace dump {

namespace {

/// Blanks in front of a node. Damaged files nest as deep as they like.
int Indent(int depth) { return 2 * std::min(depth, 40); }

// ---- text -----------------------------------------------------------------------------------------------------------------

/// Between quotes, with everything outside printable ASCII as \xNN.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char form[8];
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte >= 0x7F) {
            std::snprintf(form, sizeof form, "\\x%02X", byte);
            quoted += form;
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

std::string ValueText(const Node& node) {
    std::string text;
    for (const std::string& value : node.values) text += (text.empty() ? "" : " ") + (node.type == "string" ? Quoted(value) : value);
    const bool isBlock = node.type == "bytes";
    if (!isBlock && node.count > node.values.size()) text += " ...";
    const std::string count = node.count > 1 || isBlock ? std::to_string(node.count) + " x " : "";
    return (isBlock ? std::to_string(node.count) + " bytes" : count + node.type) + " " + text;
}

/// The word as it is stored, and the version in it.
std::string SchemaText(const std::string& number) {
    const auto schema = static_cast<unsigned int>(std::stoul(number));
    char text[48];
    std::snprintf(text, sizeof text, "schema 0x%08x, version %u", schema, schema & 0x7FFFFFFF);
    return text;
}

std::string Id(const Node& node) { return node.id != 0 ? " #" + std::to_string(node.id) : ""; }

const Node* OnlyValue(const Node& node);

/// Nothing stands below it: a value, a reference, or an object that is one value and brings no type of its own.
bool IsOneLine(const Node& node) {
    if (node.kind == Node::Object) return node.children.size() == 1 && node.note.empty() && OnlyValue(node) != nullptr;
    return node.kind == Node::Value || node.kind == Node::Null || node.kind == Node::Reference;
}

/// The one thing in a node that stands in the node's own line; null where there is more.
const Node* OnlyValue(const Node& node) {
    const Node* only = nullptr;
    for (const auto& child : node.children) {
        if (child->kind == Node::Type) continue;
        if (only != nullptr || !IsOneLine(*child)) return nullptr;
        only = child.get();
    }
    return only;
}

std::string Head(const Node& node);

std::string WithOnly(const Node& node, const std::string& head) {
    const Node* only = OnlyValue(node);
    return only != nullptr ? head + ": " + Head(*only) : head;
}

/// As much of a definition as the file has.
std::string TypeText(const Node& node) {
    std::string text = "type" + Id(node);
    if (!node.type.empty()) text += " " + node.type;
    if (!node.module.empty()) text += " of module " + node.module;
    if (node.spec) text += ", class spec " + std::to_string(*node.spec);
    if (!node.values.empty()) return text + ", " + SchemaText(node.values[0]);
    return node.children.empty() && node.count == 0 ? text : text + ", " + std::to_string(node.count) + " fields";
}

std::string Head(const Node& node) {
    switch (node.kind) {
        case Node::Root: return "";
        case Node::Object: return WithOnly(node, (node.type.empty() ? "object" : node.type) + Id(node));
        case Node::Null: return "null";
        case Node::Reference: return "the same " + node.type + Id(node);
        case Node::Type: return TypeText(node);
        case Node::TypeReference: return "the type" + Id(node) + " " + node.type;
        case Node::StoredField:
            return (node.name.empty() ? "stored field" : node.name) + (node.type.empty() ? "" : ": " + node.type + Id(node));
        case Node::Field: return WithOnly(node, node.name);
        case Node::Value: return ValueText(node);
    }
    return "";
}

void PrintNode(const Node& node, int depth) {
    const std::string head = Head(node);
    const std::string note = node.note.empty() ? "" : "   (" + node.note + ")";
    std::printf("%08zx  %*s%s%s\n", node.offset, Indent(depth), "", head.c_str(), note.c_str());
    const Node* inLine = node.kind == Node::Object || node.kind == Node::Field ? OnlyValue(node) : nullptr;
    for (const auto& child : node.children)
        if (child.get() != inLine) PrintNode(*child, depth + 1);
}

// ---- JSON -----------------------------------------------------------------------------------------------------------------

/// A JSON text. Bytes outside ASCII become the characters of the same number.
std::string Json(const std::string& text) {
    std::string json = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char form[8];
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (byte < 0x20 || byte >= 0x7F) {
            std::snprintf(form, sizeof form, "\\u%04x", byte);
            json += form;
        } else {
            json += c;
        }
    }
    return json + '"';
}

const char* KindName(Node::Kind kind) {
    static const char* const names[] = {"root", "object", "null", "reference", "type", "type reference", "stored field", "field", "value"};
    return names[kind];
}

void PrintChildren(const Node& node, int depth);

void PrintJsonNode(const Node& node, int depth) {
    std::printf("{\"offset\": %zu, \"end\": %zu, \"kind\": \"%s\"", node.offset, node.end, KindName(node.kind));
    if (!node.name.empty()) std::printf(", \"name\": %s", Json(node.name).c_str());
    if (!node.type.empty()) std::printf(", \"type\": %s", Json(node.type).c_str());
    if (node.id != 0) std::printf(", \"id\": %lld", node.id);
    if (node.kind == Node::Type) {
        std::printf(", \"module\": %s", Json(node.module).c_str());
        if (node.spec) std::printf(", \"spec\": %u", *node.spec);
        if (!node.values.empty()) std::printf(", \"schema\": %s", node.values[0].c_str());
    }
    if (node.kind == Node::Value) {
        std::printf(", \"count\": %zu, \"values\": [", node.count);
        for (size_t i = 0; i < node.values.size(); ++i) std::printf("%s%s", i == 0 ? "" : ", ", Json(node.values[i]).c_str());
        std::printf("]");
    }
    if (!node.note.empty()) std::printf(", \"note\": %s", Json(node.note).c_str());
    if (!node.children.empty()) {
        std::printf(", \"children\": ");
        PrintChildren(node, depth);
    }
    std::printf("}");
}

void PrintChildren(const Node& node, int depth) {
    std::printf("[");
    for (size_t i = 0; i < node.children.size(); ++i) {
        std::printf("%s\n%*s", i == 0 ? "" : ",", Indent(depth + 1), "");
        PrintJsonNode(*node.children[i], depth + 1);
    }
    std::printf("]");
}

}

void PrintText(const std::string& file, size_t size, const Result& result) {
    std::printf("%s: %zu bytes, read with %s\n", file.c_str(), size, result.tracked ? "tracked objects" : "objects as copies");
    for (const auto& node : result.root.children) PrintNode(*node, 0);
    if (result.whole) return;
    std::printf("%08zx  stopped here, at byte %zu: %s\n", result.stoppedAt, result.stoppedAt, result.reason.c_str());
}

void PrintJson(const std::string& file, size_t size, const Result& result) {
    std::printf("{\"file\": %s, \"bytes\": %zu, \"tracked\": %s, \"values\": ", Json(file).c_str(), size, result.tracked ? "true" : "false");
    PrintChildren(result.root, 0);
    if (result.whole)
        std::printf(",\n \"stopped\": null}\n");
    else
        std::printf(",\n \"stopped\": {\"offset\": %zu, \"reason\": %s}}\n", result.stoppedAt, Json(result.reason).c_str());
}

}
