#pragma once

#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/KelId.h"
#include "Platform/Entities/PortIndex.h"
#include "Platform/Framework/Collections.h"
#include "Platform/Framework/Record.h"

namespace KelSystem {

// Where a port is on the chip. The defaults stand for a port that is not in the table.
class PortInfo {
  public:
    constexpr PortInfo() = default;
    // `devId`: 0 to 7 for a device of this system.
    constexpr PortInfo( U8 devId, KelPortTypes::PortIndex portIndex )
        : devId_( devId ), pipeId_( portIndex.pipe() ), portIndex_( portIndex ) {}

    constexpr U8 devId() const { return devId_; }
    constexpr U16 pipeId() const { return pipeId_; }
    constexpr KelPortTypes::PortIndex portIndex() const { return portIndex_; }
    // The port number within its pipe, 0 to 127.
    constexpr U8 pipePortIndex() const { return portIndex_.localPort(); }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    friend constexpr bool operator==( const PortInfo &, const PortInfo & ) = default;
    friend std::string valueToStrep( const PortInfo & info ) { return Kel::recordToStrep( info ); }
    static constexpr auto record() {
        return std::tuple( "KelSystem::PortInfo", Kel::Field{ "devId", &PortInfo::devId_ },
                           Kel::Field{ "pipeId", &PortInfo::pipeId_ },
                           Kel::Field{ "portIndex", &PortInfo::portIndex_ } );
    }

  private:
    U8 devId_ = KelId::KelDevId::invalid;
    U16 pipeId_ = 0;
    KelPortTypes::PortIndex portIndex_;
};

// The port table of one chip, by interface and by port.
class SystemStatus : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { portInfoAttr = 1, portToIntfIdAttr };
    using PortInfos = Kel::ValueCollection<Kel::IntfId, PortInfo>;
    using PortToIntfId = Kel::ValueCollection<KelPortTypes::PortIndex, Kel::IntfId>;

    const PortInfos & portInfo() const { return portInfo_; }
    // A PortInfo with its default values when the interface is not in the table.
    PortInfo portInfo( Kel::IntfId intfId ) const;
    bool portInfoHas( Kel::IntfId intfId ) const { return portInfo_.has( intfId ); }
    void portInfoIs( Kel::IntfId intfId, const PortInfo & info ) { portInfo_.set( intfId, info ); }
    void portInfoDel( Kel::IntfId intfId ) { portInfo_.erase( intfId ); }
    void portInfoDelAll() { portInfo_.eraseAll(); }

    const PortToIntfId & portToIntfId() const { return portToIntfId_; }
    // The empty name when no interface has the port.
    Kel::IntfId portToIntfId( KelPortTypes::PortIndex port ) const;
    bool portToIntfIdHas( KelPortTypes::PortIndex port ) const { return portToIntfId_.has( port ); }
    void portToIntfIdIs( KelPortTypes::PortIndex port, Kel::IntfId intfId ) {
        portToIntfId_.set( port, intfId );
    }
    void portToIntfIdDel( KelPortTypes::PortIndex port ) { portToIntfId_.erase( port ); }
    void portToIntfIdDelAll() { portToIntfId_.eraseAll(); }

  private:
    PortInfos portInfo_{ *this, portInfoAttr };
    PortToIntfId portToIntfId_{ *this, portToIntfIdAttr };
};

} // namespace KelSystem
