#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace vlio {

struct XmlScan {
    int error = 0;       ///< 0 or an XmlRefusal
    std::size_t at = 0;  ///< byte at which the document was refused
};

/// Scans a document before the installed tinyxml2 parses it, for what tinyxml2 would accept but silently change, or
/// would take quadratic time over. The scan takes linear time and no memory. It recognises tags, comments, CDATA
/// sections, declarations, "<!...>" and quoted values exactly as tinyxml2 does.
/// text       the whole file, with its byte order mark
/// startTags  receives the position of the '<' of each element, in document order; may be null
/// Returns error 0 or an XmlRefusal. XML_REFUSED_MARKUP means that the scan met something that it can't follow;
/// tinyxml2 itself refuses such documents. A document with any other XmlRefusal must not be given to tinyxml2. Names
/// are not compared: tinyxml2 finds mismatched end tags.
XmlScan ScanXml(std::string_view text, std::vector<std::size_t>* startTags = nullptr);

}  // namespace vlio
