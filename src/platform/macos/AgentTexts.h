#pragma once

#include <string>
#include <string_view>

namespace velmora {

// What the launch agents of a Mac share: pieces of their texts, and how these get to the disk.

// The head of every property list, up to and with the line of its DOCTYPE.
inline constexpr std::string_view kPropertyListHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n";

// For a text between tags.
std::string xmlEscaped(std::string_view text);
// For a place between double quotes of a shell.
std::string shellEscaped(std::string_view text);
// All of the file or nothing. False when it can't be.
bool writeWhole(const std::string& path, const std::string& content);

}  // namespace velmora
