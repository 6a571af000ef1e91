#pragma once
#include <string>
#include <utility>
#include <vector>

namespace orl {

// One object of a definition tree as the compiler sees it after template expansion: the class
// tag, the object's name, its attributes in order, and its children. A run-time template keeps
// its prototype in `prototype` (tag = the class its instances get) and is written as raw bytes.
struct CDefcNode {
    std::string tag;
    std::string name;
    std::vector<std::pair<std::string, std::string>> attrs;
    std::vector<CDefcNode> children;
    bool isRuntimeTemplate = false;
    std::vector<CDefcNode> prototype;  // exactly one element when isRuntimeTemplate

    void setAttr(const std::string& key, const std::string& value) {
        for (auto& kv : attrs) {
            if (kv.first == key) {
                kv.second = value;
                return;
            }
        }
        attrs.emplace_back(key, value);
    }
};

}  // namespace orl
