#pragma once

#include <QString>
#include <memory>

namespace qormin::app {

// The simulated hospital server of the demo, running inside the process.
class DemoServer {
public:
    // Null (and error set) when the scenario cannot be found or the server cannot listen.
    static std::unique_ptr<DemoServer> start(QString& error);
    static QString scenarioPath();

    virtual ~DemoServer() = default;
    // The address as typed into txtServer ("127.0.0.1,<port>").
    virtual QString address() const = 0;

    static constexpr const char* user = "sa";
    static constexpr const char* password = "demo";
};

} // namespace qormin::app
