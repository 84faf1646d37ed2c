#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace TestSupport {

// A folder for one test, gone after it.
class TempFolder {
  public:
    TempFolder() : path_( testing::TempDir() + "kelqosXXXXXX" ) {
        EXPECT_NE( mkdtemp( path_.data() ), nullptr );
    }
    ~TempFolder() { std::filesystem::remove_all( path_ ); }
    TempFolder( const TempFolder & ) = delete;
    TempFolder & operator=( const TempFolder & ) = delete;

    const std::string & path() const { return path_; }
    std::string file( const std::string & name ) const { return path_ + "/" + name; }
    // Writes the file, and the folders in which it lies.
    std::string write( const std::string & name, std::string_view text ) const {
        std::filesystem::create_directories( std::filesystem::path( file( name ) ).parent_path() );
        std::ofstream( file( name ) ) << text;
        return file( name );
    }

  private:
    std::string path_;
};

} // namespace TestSupport
