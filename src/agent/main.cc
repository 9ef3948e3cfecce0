#include "agent/Agent.h"

int main(int argc, char** argv) { return CfgAgent::Agent::Main(argc, argv); }
