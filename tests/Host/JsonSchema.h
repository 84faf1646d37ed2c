#pragma once

#include "Host/Json/Json.h"
#include "Host/Json/TextFile.h"

#include <string>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

namespace KelHostTest {

// A schema of Host/Document/.
class JsonSchema {
  public:
    explicit JsonSchema( const std::string & name )
        : text_( KelHost::Json::parse(
              KelHost::readTextFile( "Host/Document/" + name + ".schema.json" ) ) ) {
        const valijson::adapters::NlohmannJsonAdapter adapter( text_ );
        valijson::SchemaParser( valijson::SchemaParser::kDraft7 )
            .populateSchema( adapter, schema_ );
    }

    const KelHost::Json & text() const { return text_; }

    bool accepts( const KelHost::Json & value ) const {
        valijson::Validator validator;
        return validator.validate( schema_, valijson::adapters::NlohmannJsonAdapter( value ),
                                   nullptr );
    }

  private:
    KelHost::Json text_;
    valijson::Schema schema_;
};

} // namespace KelHostTest
