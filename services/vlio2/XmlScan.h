#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace vlio {

struct XmlScan {
    int error = 0;       ///< 0 or an XmlRefusal
    std::size_t at = 0;  ///< the byte at which the scan ended
};

/// Looks through a document ahead of tinyxml2 9.0.0, in linear time and without memory of its own, for what
/// that parser would take in silence and lose, or take quadratic time over. It takes a tag, a comment, a
/// CDATA section, a declaration, a "<!...>" and a quoted value for exactly what the parser takes them for.
/// text   the whole file, byte order mark and all
/// startTags  receives the place of the '<' of each element, in document order; may be null
/// Returns as error 0 or an XmlRefusal: XML_REFUSED_MARKUP where it met what it can't follow, which the parser itself
/// refuses, and any other for a document that must not reach the parser. Names are not compared: a mismatched
/// end tag is the parser's to find.
XmlScan ScanXml(std::string_view text, std::vector<std::size_t>* startTags = nullptr);

}  // namespace vlio
