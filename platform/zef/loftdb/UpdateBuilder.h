#pragma once

#include <cstdint>
#include <string>

#include "loftdb_store.pb.h"

namespace google::protobuf {
class Message;
}

namespace zef::loftdb {

// The store's own computation of what one monitor sees of one changed object.
//
// The op body says SET or CLEAR on the object (`self`), on the key (field 1)
// when the object comes or goes, and on each field that changed; a delete
// clears every field the object had and always carries the former object. A list the
// monitor did not select is resent whole: one SET element per new element,
// or one CLEAR for an emptied list. A selected list gets entry operations:
// the body's list then holds the element each operation concerns, in order
// (REMOVE the removed element, UPDATE and INSERT the new one), and the old
// body's list the former element of each UPDATE. Elements are matched by
// their field 1.
halden::zef::loftdb::MonitorUpdateMsg BuildMonitorUpdate(uint32_t objectType,
                                                         const google::protobuf::Message* before,
                                                         const google::protobuf::Message* after,
                                                         const std::string& select, uint32_t mode);

// Whether the object's content differs (presence included).
bool ObjectChanged(const google::protobuf::Message* before, const google::protobuf::Message* after);

}  // namespace zef::loftdb
