#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace KelHost {

// JSON whose members stay in the order in which they were set. For small objects: looking one up
// takes as long as it has members.
using OrderedJson = nlohmann::ordered_json;

// Writes one JSON object, member by member, without ever having the whole of it as a tree: a list
// may be very long.
class JsonAnswer {
  public:
    void member( const char * name, const OrderedJson & value ) {
        begin( name );
        text_ += shown( value );
    }

    // An array, an element a line.
    template <class Items, class ToJson>
    void list( const char * name, const Items & items, const ToJson & toJson ) {
        begin( name );
        const char * separator = "";
        text_ += '[';
        for ( const auto & item : items ) {
            text_ += separator;
            text_ += "\n    " + shown( toJson( item ) );
            separator = ",";
        }
        text_ += items.empty() ? "]" : "\n  ]";
    }

    // The whole object and a line end.
    std::string text() const { return text_.empty() ? "{}\n" : text_ + "\n}\n"; }

  private:
    void begin( const char * name ) {
        text_ += text_.empty() ? "{\n  \"" : ",\n  \"";
        text_.append( name ).append( "\": " );
    }

    // What is not UTF-8, as in the name of a file, is replaced.
    static std::string shown( const OrderedJson & value ) {
        return value.dump( -1, ' ', false, OrderedJson::error_handler_t::replace );
    }

    std::string text_;
};

} // namespace KelHost
