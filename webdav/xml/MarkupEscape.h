// Escaping of text for markup, and back. Pure functions over bytes, linear, that never fail: what
// cannot stand in a document is dropped on writing, what is no reference stays as it is on reading.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

/// Escapes text for element content: "&", "<" and ">"; control bytes that no document may hold are
/// dropped.
void appendContent(std::string& out, std::string_view text);

/// Escapes text for an attribute value: quotes too, and blanks other than the space as references,
/// since a reader would turn them into spaces.
void appendAttributeValue(std::string& out, std::string_view text);

/// Wraps text in a CDATA section, or in several where it holds the end mark of one.
void appendCData(std::string& out, std::string_view text);

/// Writes a comment, and an instruction of its target and the rest; where the text holds their end
/// mark, or a comment two hyphens, a blank keeps the characters apart.
void appendComment(std::string& out, std::string_view text);
void appendInstruction(std::string& out, std::string_view text);

/// Copies text without the control bytes that no document may hold.
void appendWithoutControls(std::string& out, std::string_view text);

/// Decodes character references and those of the fixed entity table; all others stay as they are,
/// those to characters that no document may hold among them.
void appendDecoded(std::string& out, std::string_view text);

std::string decodeReferences(std::string_view text);

}  // namespace webdav
