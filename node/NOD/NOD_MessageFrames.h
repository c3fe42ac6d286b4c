/// \file NOD_MessageFrames.h
/// The frames that messages of a language server come in: `Content-Length: N`, an empty line, N bytes.
///
/// Units:      bytes.
/// Ownership:  owns what was added and isn't taken yet.
/// Threads:    one thread at a time.
/// Errors:     a header without a usable length is a fault, and so is a length that doesn't fit: that of a
///             message in which the next header stands. What follows is searched for the next header, so
///             that the messages after it aren't lost.
/// Cost:       memory for the bytes that came, whatever length they claim.
#pragma once

#include <NOD/NOD_API.h>

#include <cstddef>
#include <string>
#include <string_view>

class NOD_API NOD_MessageFrames
{
public:
    /// No message may be longer.
    static constexpr std::size_t theMostBytes = std::size_t(1) << 28;

    enum class Result
    {
        NOTHING, ///< more bytes are needed
        MESSAGE,
        FAULT ///< the text says what is wrong with the frame; go on
    };

    void add(std::string_view bytes);
    /// Replaces `text` by the next message, or by what is wrong.
    Result next(std::string &text);
    /// Whether bytes are left that are no whole message.
    bool isEmpty() const { return myBegin == myBytes.size(); }

    /// A message in its frame.
    static std::string frame(std::string_view message);

private:
    struct Header
    {
        std::size_t size = 0; ///< of the header, with the empty line; 0 for none
        std::size_t length = 0;
        const char *fault = nullptr;
        std::size_t skip = 1; ///< after a fault, where the next header may begin
    };

    std::string_view rest() const { return std::string_view(myBytes).substr(myBegin); }
    Header readHeader() const;
    Result skipToHeader(std::size_t from, const char *fault, std::string &text);
    void drop(std::size_t count);

    std::string myBytes;
    std::size_t myBegin = 0;
    std::size_t mySearched = 0; ///< of the message that is incomplete
    bool mySkipFlag = false;    ///< after a fault, until the next header
};
