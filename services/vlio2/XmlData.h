#pragma once

#include <vlgim/Error.h>
#include <vlio2/FileStream.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace vlio {

class FileWriter;

/// Results of XmlData::Load and Parse in addition to those of tinyxml2: documents that tinyxml2 would accept but
/// silently change, or would take quadratic time over.
enum XmlRefusal {
    XML_REFUSED_NUL = 100,              ///< a NUL byte that is followed by other bytes
    XML_REFUSED_END_TAG = 101,          ///< an end tag that closes nothing, or contains more than a name
    XML_REFUSED_REFERENCE = 102,        ///< "&#...;" that names no Unicode character, or that drops text
    XML_REFUSED_AMPERSAND = 103,        ///< a bare '&' after a reference or a two-byte line end in one value
    XML_REFUSED_ATTRIBUTES = 104,       ///< more than 256 attributes on one element
    XML_REFUSED_OPEN_REFERENCES = 105,  ///< more than 256 "&#" without digits and a ';'
    XML_REFUSED_MARKUP = 106,           ///< markup that only tinyxml2 can follow; none is known
};

/// One XML document and the bytes from which it was loaded.
///
/// Text and attribute values are what tinyxml2 makes of them: the five predefined entities and character references are
/// replaced, any other "&name;" is kept, line ends become LF, and white space between tags is no text. A document needs
/// a root element and may have several. Elements can be nested 99 deep; the innermost has to be an empty tag.
///
/// A document can't be used by several threads at once, not even for reading, because tinyxml2 decodes a value when it
/// is first asked for. Any operation may throw std::bad_alloc; Load and Parse then leave the object empty or unchanged.
class VLGIM_API XmlData {
public:
    /// Makes an empty document.
    XmlData();
    /// Pointers to elements and references from Document() stay valid and belong to the new object. The old object is
    /// empty.
    XmlData(XmlData&&) noexcept;
    XmlData& operator=(XmlData&&) noexcept;
    ~XmlData();

    /// Reads a whole regular file and parses it as Parse does. Nothing is logged.
    /// Returns what Parse returns. Returns XML_ERROR_FILE_NOT_FOUND of tinyxml2 for a file that does not exist, and
    /// XML_ERROR_FILE_READ_ERROR for one that can't be read, such as a folder, a pipe, or a file without permission.
    /// After any result but 0 the object is empty.
    [[nodiscard]] int Load(const char* path) { return LoadFile(path).code; }

    /// Replaces the document by the one in a text. All old elements, and references from Document(), become invalid.
    /// Time and memory are proportional to `size`, whatever the text is.
    /// text  the text; it is copied, and may be in the old document
    /// size  in bytes; NULs at the end do not belong to the document
    /// Returns 0, an error of tinyxml2 (XML_ERROR_EMPTY_DOCUMENT if there is no root element) or an XmlRefusal. After
    /// any result but 0 the object is empty.
    [[nodiscard]] int Parse(const char* text, std::size_t size) { return ParseText({text, size}).code; }

    /// Reads a file as Load does. Returns success, or an error of kind NotFound, Unreadable or Document, whose code is
    /// the result of Load.
    [[nodiscard]] vela::vlgim::Error LoadFile(const char* path);

    /// Parses a text as Parse does. Returns success, or an error of kind Document, whose code is the result of Parse
    /// and whose offset is the byte, or the start of the line, at which the document was refused.
    [[nodiscard]] vela::vlgim::Error ParseText(std::string_view text);

    /// Makes the document empty. All its elements become invalid.
    void Clear() noexcept;

    /// Writes the document. The file appears as a whole or not at all, unless it has to be written in place (see
    /// FileWriter).
    /// path  path of the file, used unchanged
    ///
    /// A document that equals the loaded one is written as the bytes that were loaded, also if edits have undone each
    /// other. Any other document is printed with an indent of four spaces, and with the byte order mark and the first
    /// kind of line end of the loaded one (LF if it had none). Each value reads back as it is. The layout is lost:
    /// white space between and inside tags, the kind of quotes, which characters were references, and NULs at the end;
    /// "<a></a>" becomes "<a/>". Other parsers can see two differences: a line end in an attribute is printed as it is,
    /// even if it was "&#10;", and "&name;" is printed as "&amp;name;".
    ///
    /// Returns 0 if the file was saved. Returns 1 otherwise, after LogError "failed to write %s: %s" with the path and
    /// the reason. The old file is then unchanged, unless it had to be written in place. The reason is that of the
    /// system, or that the document is empty or would not read back as it is: with "-->" in a comment, with text
    /// outside of the root (which includes the rest of a DTD with a subset), or with anything that Parse refuses.
    [[nodiscard]] int Save(const char* path) const;

    /// Writes the document as Save does. Nothing is logged. Returns success, or an error: of kind Unwritable if
    /// the document is empty or would not read back, of kind NotCreated or NotWritten, with the errno value, if the
    /// system refuses.
    [[nodiscard]] vela::vlgim::Error SaveFile(const char* path) const;

    /// Adds the document to a set of files, which the caller has to commit. Only Commit can fail afterwards. Nothing is
    /// logged. Returns success, or an error of kind Unwritable or NotCreated; the set is then unchanged.
    [[nodiscard]] vela::vlgim::Error AddTo(FileWriter& set, const char* path) const;

    /// True if there is no root element, whether from a load or made with Document().
    bool IsEmpty() const noexcept;

    /// Returns the first child element of `parent` with this name; null if there is none. The element belongs to the
    /// document.
    /// name    null matches any name
    /// parent  null searches at the top of the document
    tinyxml2::XMLElement* GetElement(const char* name, const tinyxml2::XMLElement* parent) const noexcept;

    /// Follows a path of names like "Vela/SubMesh": calls GetElement for each name in turn. Only the first element of
    /// each name is searched. Returns the last element; null if any is missing, and for an empty name.
    /// path    names, separated by '/'
    /// parent  where the path starts; null: the top of the document
    tinyxml2::XMLElement* FindElement(const char* path, const tinyxml2::XMLElement* parent) const;

    /// Replaces `list` by the child elements of `parent` with this name, in document order.
    /// parent  null takes the elements at the top of the document
    /// name    null matches any name
    void GetChildElementList(std::vector<tinyxml2::XMLElement*>& list, const tinyxml2::XMLElement* parent,
                             const char* name) const;

    /// Returns the document itself, to build or edit one. Valid until the next Load, Parse or Clear.
    tinyxml2::XMLDocument& Document();

private:
    vela::vlgim::Error Adopt(Bytes bytes);

    Bytes m_bytes;                                      // as loaded; empty for a document that was built
    std::unique_ptr<tinyxml2::XMLDocument> m_document;  // made when first needed
};

}  // namespace vlio
