#include <NOD/describe/NOD_PageWriterPrivate.h>

#include <NOD/describe/NOD_PageTextPrivate.h>

#include <algorithm>

namespace
{

constexpr int theDeepestHeading = 6;

constexpr const char *theStyle =
    "body { font: 16px/1.5 sans-serif; max-width: 46em; margin: 2em auto; padding: 0 1em; }\n"
    "h1, h2, h3, h4, h5, h6 { line-height: 1.25; margin: 1.6em 0 0.4em; }\n"
    "h2 { border-bottom: 1px solid #bbb; }\n"
    "p, ul { margin: 0.4em 0; }\n"
    "code { background: #eee; color: #222; padding: 0.1em 0.3em; border-radius: 3px; }\n"
    "h2 code, h3 code, h4 code, h5 code, h6 code { font-size: 0.8em; font-weight: normal; }\n"
    "svg { max-width: 100%; height: auto; }\n";

class MarkdownWriter : public NOD_PageWriter
{
public:
    std::string text(std::string_view text) const override { return NODmarkdownText(text); }

    std::string code(std::string_view text) const override { return NODmarkdownCode(text); }

    std::string strong(std::string_view text) const override
    {
        const std::string phrase = NODmarkdownText(text);
        return phrase.empty() ? "" : "**" + phrase + "**";
    }

    void heading(int level, const std::string &phrase, const std::string &) override
    {
        myText += myText.empty() ? "" : "\n";
        myText +=
            std::string(std::size_t(std::min(level, theDeepestHeading)), '#') + " " + phrase + "\n";
    }

    void paragraph(const std::string &phrase) override { myText += "\n" + phrase + "\n"; }

    void list(const std::vector<std::string> &phrases) override
    {
        myText += "\n";
        for (const std::string &phrase : phrases) {
            myText += "- " + phrase + "\n";
        }
    }

    void picture(const std::string &title, const std::string &file, const std::string &) override
    {
        myText += "\n![" + NODmarkdownText(title) + "](" + file + ")\n";
    }

    std::string finish(const std::string &) override { return myText; }

private:
    std::string myText;
};

class HtmlWriter : public NOD_PageWriter
{
public:
    std::string text(std::string_view text) const override { return NODhtmlText(text); }

    std::string code(std::string_view text) const override
    {
        return "<code>" + NODhtmlText(text) + "</code>";
    }

    std::string strong(std::string_view text) const override
    {
        return "<strong>" + NODhtmlText(text) + "</strong>";
    }

    void heading(int level, const std::string &phrase, const std::string &anchor) override
    {
        const std::string tag = "h" + std::to_string(std::min(level, theDeepestHeading));
        std::string id = NODhtmlText(anchor);
        for (char &c : id) {
            c = c == ' ' || c == '\n' || c == '\t' ? '_' : c;
        }
        myText += "<" + tag + (id.empty() ? "" : " id=\"" + id + "\"") + ">" + phrase + "</" + tag +
                  ">\n";
    }

    void paragraph(const std::string &phrase) override { myText += "<p>" + phrase + "</p>\n"; }

    void list(const std::vector<std::string> &phrases) override
    {
        myText += "<ul>\n";
        for (const std::string &phrase : phrases) {
            myText += "<li>" + phrase + "</li>\n";
        }
        myText += "</ul>\n";
    }

    void picture(const std::string &, const std::string &, const std::string &svg) override
    {
        myText += svg;
    }

    std::string finish(const std::string &title) override
    {
        return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
               "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
               NODhtmlText(title) + "</title>\n<style>\n" + theStyle +
               "</style>\n</head>\n<body>\n" + myText + "</body>\n</html>\n";
    }

private:
    std::string myText;
};

} // namespace

std::unique_ptr<NOD_PageWriter> NODmarkdownWriter()
{
    return std::make_unique<MarkdownWriter>();
}

std::unique_ptr<NOD_PageWriter> NODhtmlWriter()
{
    return std::make_unique<HtmlWriter>();
}
