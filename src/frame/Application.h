#pragma once

#include <boost/property_tree/ptree_fwd.hpp>

namespace CfgAgent {

// One application of the configuration's list. Its constructor takes its
// collaborators and touches nothing else; Start reads its own settings and
// registers it with the dispatcher and the tables; LateStart runs once the
// store client is started; Stop undoes Start.
class Application {
public:
    virtual ~Application() = default;
    virtual void Start(const boost::property_tree::ptree& config) = 0;
    virtual void LateStart() {}
    virtual void Stop() = 0;
};

}  // namespace CfgAgent
