/// \file NOD_PageWriterPrivate.h
/// A page in the making, in one of two languages.
///
/// Vocabulary: *phrase* = a text in the page's language: what text(), code() and strong() return, and
///             anything put together from these with blanks, commas and points.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_PageWriter
{
public:
    virtual ~NOD_PageWriter() = default;

    virtual std::string text(std::string_view text) const = 0;
    virtual std::string code(std::string_view text) const = 0;
    virtual std::string strong(std::string_view text) const = 0;

    /// Level 1 is the page's title. An anchor is a folder's or parameter's name.
    virtual void heading(int level, const std::string &phrase, const std::string &anchor) = 0;
    virtual void paragraph(const std::string &phrase) = 0;
    virtual void list(const std::vector<std::string> &phrases) = 0;
    /// `file` has the picture, `svg` its bytes.
    virtual void picture(const std::string &title, const std::string &file,
                         const std::string &svg) = 0;
    /// The page, complete.
    virtual std::string finish(const std::string &title) = 0;
};

std::unique_ptr<NOD_PageWriter> NODmarkdownWriter();
std::unique_ptr<NOD_PageWriter> NODhtmlWriter();
