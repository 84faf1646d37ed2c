#pragma once

#include "Platform/Framework/Collections.h"
#include "Platform/Framework/Entity.h"
#include "tests/support/Watcher.h"

#include <string>
#include <vector>

// A small state store: a house has rooms, a room has lamps and labels, a lamp has a level.

class Lamp : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { levelAttr = 1 };

    explicit Lamp( int * ended = nullptr ) : ended_( ended ) {}
    ~Lamp() override {
        if ( ended_ ) {
            ++*ended_;
        }
    }

    int level() const { return level_; }
    bool levelIs( int level ) { return attributeIs( level_, level, levelAttr ); }

  private:
    int level_ = 0;
    int * ended_;
};

class Room : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { lampAttr = 1, labelAttr };

    Kel::MemberCollection<int, Lamp> lamps{ *this, lampAttr };
    Kel::ValueCollection<int, std::string> labels{ *this, labelAttr };
};

class House : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { roomAttr = 1 };

    Kel::MemberCollection<int, Room> rooms{ *this, roomAttr };
};
