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

/// Results of XmlData::Load and Parse beside those of tinyxml2: what that parser would take in silence and
/// lose, or take quadratic time over.
enum XmlRefusal {
    XML_REFUSED_NUL = 100,              ///< a NUL byte with anything else than NULs behind it
    XML_REFUSED_END_TAG = 101,          ///< an end tag that closes nothing, or has more in it than a name
    XML_REFUSED_REFERENCE = 102,        ///< "&#...;" without a Unicode character, or that swallows text
    XML_REFUSED_AMPERSAND = 103,        ///< a bare '&' behind a reference or a two-byte line end in one value
    XML_REFUSED_ATTRIBUTES = 104,       ///< more than 256 attributes on one element
    XML_REFUSED_OPEN_REFERENCES = 105,  ///< more than 256 "&#" without digits and a ';'
    XML_REFUSED_MARKUP = 106,           ///< markup that only the parser can follow; none is known
};

/// One XML document, and the bytes it was loaded from.
///
/// Text and attribute values are read as tinyxml2 has them: the five predefined entities and character
/// references are replaced, any other "&name;" stays as it is, line ends become LF, white space between tags
/// is no text. A document needs a root element, may have several, and may nest elements 99 deep, the
/// innermost an empty tag.
///
/// Not for several threads at once, not even for reading: tinyxml2 decodes a value when it is first asked
/// for. Any operation may throw std::bad_alloc; Load and Parse then leave the object empty or unchanged.
class VLGIM_API XmlData {
public:
    /// An empty document.
    XmlData();
    /// Elements and Document() stay valid, and are of the new object; the old one is empty.
    XmlData(XmlData&&) noexcept;
    XmlData& operator=(XmlData&&) noexcept;
    ~XmlData();

    /// Reads a whole regular file as Parse does. Logs nothing.
    /// Returns as Parse, or tinyxml2's XML_ERROR_FILE_NOT_FOUND for a file that can't be found and
    /// XML_ERROR_FILE_READ_ERROR for one that can't be read: a folder, a pipe, no permission.
    int Load(const char* path);

    /// Replaces the document, and with it all elements and Document(), by one of size bytes of text, which
    /// are copied and may lie in the old document. NULs at their end are no part of the document.
    /// Time and memory grow in proportion to size, whatever the text says.
    /// Returns 0, an error of tinyxml2 (XML_ERROR_EMPTY_DOCUMENT where there is no root element) or an
    /// XmlRefusal; after any but 0 the object is empty.
    int Parse(const char* text, std::size_t size);

    /// Load with its result as a value: NotFound, Unreadable or Document, with what Load returns as the code.
    [[nodiscard]] vela::vlgim::Error LoadFile(const char* path);

    /// Parse with its result as a value: Document, with what Parse returns as the code, and the byte, or the start of
    /// the line, at which the document was refused.
    [[nodiscard]] vela::vlgim::Error ParseText(std::string_view text);

    /// Makes the document empty, and with it ends all its elements.
    void Clear() noexcept;

    /// Writes the document as FileWriter does: whole or not at all.
    ///
    /// A document that is the same as when it was loaded, edits that undo each other included, is written as
    /// the very bytes that were loaded. Any other is printed anew, with an indent of four spaces, in the
    /// loaded one's byte order mark and first kind of line end (LF if it had none). Every value reads back as
    /// it is. Lost is how it was laid out: white space between and inside tags, the kind of quotes, which
    /// characters were references, NULs at the end; "<a></a>" is printed "<a/>". Other readers than this one
    /// may see a difference in a line end inside an attribute, which is printed bare even where it was
    /// "&#10;", and in "&name;", printed "&amp;name;".
    ///
    /// Returns 0. Returns 1, with the old file as it was, after LogError "failed to write %s: %s" with path
    /// and the reason: the system's, or that the document is empty, or that it would not read back as it is,
    /// such as with "-->" in a comment, text outside of the root (the rest of a DTD with a subset is such),
    /// or anything that Parse refuses.
    int Save(const char* path) const;

    /// Adds the document to a set of files, for the caller to commit, in which alone the system may still
    /// refuse it. Returns and logs as Save(path), but for the warnings of the set; after 1 the set is as it was.
    int Save(const char* path, FileWriter& set) const;

    /// Save(path) with its result as a value, and nothing logged: Unwritable for what the document says, NotCreated or
    /// NotWritten, with the system's errno value, for what the system does.
    [[nodiscard]] vela::vlgim::Error SaveFile(const char* path) const;

    /// Save(path, set) with its result as a value, and nothing logged: Unwritable or NotCreated.
    [[nodiscard]] vela::vlgim::Error AddTo(FileWriter& set, const char* path) const;

    /// True while there is no root element: nothing was loaded, and nothing built through Document().
    bool IsEmpty() const noexcept;

    /// The first child element of parent with this name, among those at the top for a null parent; the first
    /// of any name for a null name. Null if there is none. All elements belong to the document.
    tinyxml2::XMLElement* GetElement(const char* name, const tinyxml2::XMLElement* parent) const noexcept;

    /// GetElement for each name of a path like "Vela/SubMesh" in turn, from parent or, if null, the top. Only
    /// the first element of each name is looked into. Null if there is none, and for an empty name.
    tinyxml2::XMLElement* FindElement(const char* path, const tinyxml2::XMLElement* parent) const;

    /// Replaces list by the child elements of parent, or those at the top for a null parent, that have this
    /// name, or all for a null name, in their order.
    void GetChildElementList(std::vector<tinyxml2::XMLElement*>& list, const tinyxml2::XMLElement* parent,
                             const char* name) const;

    /// The document itself, to make or edit one; valid until the next Load or Parse.
    tinyxml2::XMLDocument& Document();

private:
    vela::vlgim::Error Adopt(Bytes bytes);
    bool IsAsLoaded() const;

    Bytes m_bytes;                                      // as loaded; empty for a document made by hand
    std::unique_ptr<tinyxml2::XMLDocument> m_document;  // made when first needed
};

}  // namespace vlio
