#include "Host/Agent/Protocol.h"

#include "Host/Document/CounterFeed.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace KelHost {

namespace {

// Longer than any header; a line that goes on beyond this is given up.
constexpr std::size_t headerLimit = 64;
constexpr U64 answerLimit = 1ULL << 30;

// A feed's patch, and its name for messages in front of it.
constexpr std::size_t feedBodyLimit = feedLimit + 4096;

struct KindOfRequest {
    std::string_view word;
    std::size_t limit; // bytes of its body
};
// By RequestKind.
constexpr std::array<KindOfRequest, 7> kinds = { {
    { "command", 4096 },
    { "reload", 0 },
    { "feed", feedBodyLimit },
    { "clear-counters", 0 },
    { "ring", 0 },
    { "document", 0 },
    { "config", 0 },
} };

// By AnswerStatus.
constexpr std::array<std::string_view, 2> statuses = { "done", "refused" };

std::string header( std::string_view word, std::size_t size ) {
    return std::string( word ).append( " " ).append( std::to_string( size ) ).append( "\n" );
}

} // namespace

std::size_t bodyLimit( RequestKind kind ) { return kinds[static_cast<std::size_t>( kind )].limit; }

std::string encoded( const Request & request ) {
    return header( kinds[static_cast<std::size_t>( request.kind )].word, request.body.size() ) +
           request.body;
}

std::string encoded( Answer answer ) {
    return std::move( answer.text.insert(
        0, header( statuses[static_cast<std::size_t>( answer.status )], answer.text.size() ) ) );
}

FrameReader::State FrameReader::add( std::string_view bytes ) {
    if ( state_ != State::incomplete ) {
        return state_;
    }
    text_.append( bytes );
    if ( header_ == 0 && !takeHeader() ) {
        return state_;
    }
    if ( text_.size() >= header_ + length_ ) {
        state_ = State::complete;
    }
    return state_;
}

std::string FrameReader::takeBody() {
    text_.resize( header_ + length_ );
    text_.erase( 0, header_ );
    return std::move( text_ );
}

bool FrameReader::takeHeader() {
    const std::size_t end = std::string_view( text_ ).substr( 0, headerLimit ).find( '\n' );
    if ( end == std::string_view::npos ) {
        state_ = text_.size() < headerLimit ? State::incomplete : State::malformed;
        return false;
    }
    const std::string_view line( text_.data(), end );
    const std::size_t blank = std::min( line.find( ' ' ), line.size() );
    const std::string_view number = line.substr( std::min( blank + 1, line.size() ) );
    U64 length = 0;
    const auto [stop, error] =
        std::from_chars( number.data(), number.data() + number.size(), length );
    if ( error != std::errc{} || stop != number.data() + number.size() ||
         !accepts( line.substr( 0, blank ), length ) ) {
        state_ = State::malformed;
        return false;
    }
    header_ = end + 1;
    length_ = length;
    return true;
}

bool RequestReader::accepts( std::string_view word, U64 length ) {
    const auto found = std::ranges::find( kinds, word, &KindOfRequest::word );
    if ( found == kinds.end() ) {
        return false;
    }
    kind_ = static_cast<RequestKind>( found - kinds.begin() );
    if ( length > found->limit ) {
        complaintIs( "the request is longer than " + std::to_string( found->limit ) + " bytes" );
        return false;
    }
    return true;
}

bool AnswerReader::accepts( std::string_view word, U64 length ) {
    const auto found = std::ranges::find( statuses, word );
    status_ = static_cast<AnswerStatus>( found - statuses.begin() );
    return found != statuses.end() && length <= answerLimit;
}

} // namespace KelHost
