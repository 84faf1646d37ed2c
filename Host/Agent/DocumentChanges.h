#pragma once

#include "Host/Agent/Worker.h"
#include "Host/Switch/SwitchRuntime.h"

#include <deque>
#include <string>

namespace KelHost {

// A change of the document that a running switch follows.
struct DocumentChange {
    // Beside the loop: reads, decodes and checks whatever is to come, and compares it with the
    // document that runs. Throws to refuse the change; its text is for the user. Absent when
    // nothing changes.
    std::function<DocumentDifference( const SwitchDocument & present )> prepare;
    // Beside the loop, when the change has been applied; may be absent. Throws to tell of something
    // that went wrong, but does the change no harm.
    std::function<void()> settle;
    // On the loop, when it has been settled, or applied if there is nothing to settle. Each text is
    // empty when there is nothing to tell.
    std::function<void( const std::string & refusal, const std::string & trouble )> done;
};

// Takes a running switch from one document to the next: one change after the other, each whole or
// not at all. What takes long happens beside the event loop; what touches the state store happens
// on the loop, a part of bounded size at a time, when nothing else waits.
class DocumentChanges {
  public:
    // The arguments must outlive it.
    DocumentChanges( SwitchRuntime & runtime, EventLoop & loop, Worker & worker );
    DocumentChanges( const DocumentChanges & ) = delete;
    DocumentChanges & operator=( const DocumentChanges & ) = delete;

    void add( DocumentChange change );

  private:
    void beginNext();
    void prepare();
    void applyNextPart();
    void settle();
    void tell();
    // Does the work and returns the text of what it threw.
    template <class Work>
    static std::string complaintOf( const Work & work );

    SwitchRuntime & runtime_;
    EventLoop & loop_;
    Worker & worker_;
    std::deque<DocumentChange> waiting_;
    bool underWay_ = false;

    // Of the change that is under way; the loop leaves it alone while the worker is at it.
    DocumentChange change_;
    std::vector<DocumentDifference> parts_;
    std::size_t applied_ = 0; // parts
    std::string refusal_;
    std::string trouble_;
};

} // namespace KelHost
