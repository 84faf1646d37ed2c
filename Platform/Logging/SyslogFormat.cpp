#include "Platform/Logging/SyslogFormat.h"

#include "Platform/Framework/Text.h"

#include <cstdio>

namespace Kel {

namespace {

template <typename T>
void appendPrinted( std::string & message, const std::string & directive, T value ) {
    const int length = std::snprintf( nullptr, 0, directive.c_str(), value );
    const std::size_t begin = message.size();
    const auto count = static_cast<std::size_t>( length );
    message.resize( begin + count + 1 ); // snprintf ends with a zero byte
    std::snprintf( message.data() + begin, count + 1, directive.c_str(), value );
    message.resize( begin + count );
}

} // namespace

std::string SyslogArg::toText() const {
    if ( kind_ == Kind::text ) {
        return std::string( text_ );
    }
    return isSigned_ ? valueToStrep( static_cast<S64>( integer_ ) ) : valueToStrep( integer_ );
}

bool SyslogFormat::accepts( Takes takes, const SyslogArg & arg ) {
    switch ( takes ) {
    case Takes::integer:
        return arg.kind() == SyslogArg::Kind::integer && arg.size() <= sizeof( U32 );
    case Takes::longInteger:
        return arg.kind() == SyslogArg::Kind::integer;
    case Takes::text:
        return arg.kind() == SyslogArg::Kind::text;
    case Takes::nothing:
        break;
    }
    return false;
}

bool SyslogFormat::accepts( std::span<const SyslogArg> args ) const {
    if ( args.size() != argCount_ ) {
        return false;
    }
    std::size_t next = 0;
    for ( const Conversion & conversion : std::span( conversions_ ).first( conversionCount_ ) ) {
        if ( conversion.takes != Takes::nothing && !accepts( conversion.takes, args[next++] ) ) {
            return false;
        }
    }
    return true;
}

std::string SyslogFormat::formatted( std::span<const SyslogArg> args ) const {
    std::string message;
    std::size_t done = 0;
    std::size_t next = 0;
    for ( const Conversion & conversion : std::span( conversions_ ).first( conversionCount_ ) ) {
        message.append( text_, done, conversion.begin - done );
        done = conversion.end;
        if ( conversion.takes == Takes::nothing ) {
            message.push_back( '%' );
        } else {
            append( message, conversion, args[next++] );
        }
    }
    return message.append( text_, done );
}

void SyslogFormat::append( std::string & message, const Conversion & conversion,
                           const SyslogArg & arg ) const {
    const char letter = text_[conversion.end - 1];
    const bool isSigned = letter == 'd' || letter == 'i';
    std::string directive( text_, conversion.begin, conversion.modifiersEnd - conversion.begin );
    directive += conversion.takes == Takes::longInteger ? "ll" : "";
    directive += letter;
    switch ( conversion.takes ) {
    case Takes::integer:
        isSigned ? appendPrinted( message, directive, static_cast<int>( arg.integer() ) )
                 : appendPrinted( message, directive, static_cast<unsigned>( arg.integer() ) );
        break;
    case Takes::longInteger:
        isSigned ? appendPrinted( message, directive, static_cast<long long>( arg.integer() ) )
                 : appendPrinted( message, directive, arg.integer() );
        break;
    case Takes::text:
        appendPrinted( message, directive, std::string( arg.text() ).c_str() );
        break;
    case Takes::nothing:
        break;
    }
}

} // namespace Kel
