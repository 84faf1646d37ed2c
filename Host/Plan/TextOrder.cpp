#include "Host/Plan/TextOrder.h"

#include "Host/Json/DocumentError.h"
#include "Host/Json/Json.h"

#include <vector>

namespace KelHost {

namespace {

// Notes the objects below "ports" in the order in which they begin.
class Places : public Json::json_sax_t {
  public:
    explicit Places( std::map<std::string, std::size_t> & places ) : places_( places ) {}

    bool key( string_t & name ) override {
        name_ = name;
        return true;
    }
    bool start_object( std::size_t ) override {
        // The root has no name.
        path_.push_back( path_.empty() ? "" : path_.back() + '/' + pointerToken( name_ ) );
        // /ports/NAME/qos/ppgs/ID is the deepest of interest.
        constexpr std::size_t deepest = 6;
        if ( path_.size() <= deepest && path_.back().starts_with( "/ports/" ) ) {
            places_.emplace( path_.back(), places_.size() );
        }
        return true;
    }
    bool end_object() override {
        path_.pop_back();
        return true;
    }

    bool null() override { return true; }
    bool boolean( bool ) override { return true; }
    bool number_integer( number_integer_t ) override { return true; }
    bool number_unsigned( number_unsigned_t ) override { return true; }
    bool number_float( number_float_t, const string_t & ) override { return true; }
    bool string( string_t & ) override { return true; }
    bool binary( binary_t & ) override { return true; }
    bool start_array( std::size_t ) override { return true; }
    bool end_array() override { return true; }
    bool parse_error( std::size_t, const std::string &,
                      const nlohmann::detail::exception & ) override {
        return false;
    }

  private:
    std::map<std::string, std::size_t> & places_;
    std::vector<std::string> path_; // pointers of the objects around
    std::string name_;
};

} // namespace

TextOrder::TextOrder( std::string_view text ) {
    Places places( places_ );
    Json::sax_parse( text, &places );
}

} // namespace KelHost
