// The XML writer behind the public writer operations and the command message.
//
// A writer finds the chain's last link once and then appends through a
// ChainAppender, so writing a message or a tree costs only the bytes written.
// Each operation makes exactly the appends, and the reports, of the public
// operation it stands for (source file "XmlFunctions").
#pragma once

#include <cstddef>
#include <string_view>

#include "CharBuffer.h"
#include "ZovNode.h"
#include "internal/Chain.h"

namespace zov {

class XmlWriter {
public:
    explicit XmlWriter(CharBuffer *buffer) noexcept : out_(buffer) {}

    // One append; false when it failed (and was reported).
    bool raw(std::string_view bytes) noexcept { return out_.append(bytes); }

    // open, the name (not NULL), close: three appends.
    void tag(std::string_view open, const char *tagName, std::string_view close) noexcept;

    // addOpeningTag / addClosingTag: nothing for a NULL name.
    void openTag(const char *tagName) noexcept;
    void closeTag(const char *tagName) noexcept;

    // addStringElement: arguments checked, value escaped.
    void stringElement(const char *tagName, const char *value) noexcept;

    // addSubNodeStringsRecursive, with an explicit stack of open elements.
    // False when that stack could not grow (nothing reported); the chain then
    // ends inside an element.
    bool nodeList(const ZovNode *node) noexcept;

private:
    ChainAppender out_;
};

}  // namespace zov
