#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <string>
#include <string_view>

// What client and agent say to each other on the agent's socket. A connection carries one request
// and one answer; the agent closes it. Each is a header line and a body of the length that the
// header names:
//
//     command 8\n        done 6\n
//     show buf           Buffer...
namespace KelHost {

enum class RequestKind : U8 {
    command,       // body: a diagnostic command in the library's words; answer: its output
    reload,        // read the configuration file again
    feed,          // body: a name for messages, a line end, a merge patch of the counters (JSON)
    clearCounters, // counters count from now on
    ring,          // answer: the ring-buffer trace
    document,      // answer: the document that runs (JSON), its counters included
    config,        // answer: the name of the configuration file, a line end, its text
};

struct Request {
    RequestKind kind = RequestKind::command;
    std::string body = {};
    bool operator==( const Request & ) const = default;
};

enum class AnswerStatus : U8 { done, refused };

struct Answer {
    AnswerStatus status = AnswerStatus::done;
    std::string text = {}; // of a refusal: why, for the user
    bool operator==( const Answer & ) const = default;
};

// The longest body of a request, in bytes.
std::size_t bodyLimit( RequestKind kind );

std::string encoded( const Request & request );
// A large answer is not copied.
std::string encoded( Answer answer );

// Reads one header line and its body piece by piece, wherever they are cut. Anything after the body
// is ignored.
class FrameReader {
  public:
    enum class State : U8 { incomplete, complete, malformed };

    State add( std::string_view bytes );

    // Bytes that are kept.
    std::size_t size() const { return text_.size(); }

  protected:
    virtual ~FrameReader() = default;
    // Whether the body may have that length, behind a header that begins with that word.
    virtual bool accepts( std::string_view word, U64 length ) = 0;
    // The body, once it is there; nothing is left of it in here.
    std::string takeBody();
    void complaintIs( std::string text ) { complaint_ = std::move( text ); }
    const std::string & complaint() const { return complaint_; }

  private:
    bool takeHeader();

    State state_ = State::incomplete;
    std::string text_;
    std::size_t header_ = 0; // its length with the line end, once it is complete
    std::size_t length_ = 0;
    std::string complaint_ = "malformed request";
};

class RequestReader final : public FrameReader {
  public:
    // Once the request is complete.
    Request takeRequest() { return { kind_, takeBody() }; }
    // Why it is malformed, for the user.
    using FrameReader::complaint;

  private:
    bool accepts( std::string_view word, U64 length ) override;

    RequestKind kind_ = RequestKind::command;
};

class AnswerReader final : public FrameReader {
  public:
    // Once the answer is complete.
    Answer takeAnswer() { return { status_, takeBody() }; }

  private:
    bool accepts( std::string_view word, U64 length ) override;

    AnswerStatus status_ = AnswerStatus::done;
};

} // namespace KelHost
