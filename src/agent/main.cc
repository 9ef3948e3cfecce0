#include <malloc.h>

#include "agent/Agent.h"

int main(int argc, char** argv) {
    // One allocator arena: records are made on the store's thread, applied on
    // the dispatcher's and sent from the link's, and with an arena per
    // thread each keeps what the others freed, which costs a full load's
    // peak a fifth more memory.
    mallopt(M_ARENA_MAX, 1);
    return CfgAgent::Agent::Main(argc, argv);
}
