// What the test service was asked.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace pixelforge::test {

struct ServiceRequest {
    std::string host;
    std::string path;  ///< with the query
    std::map<std::string, std::string> headers;
};

/// The requests since this object was made, oldest first. The service notes a request before it answers.
class RequestLog {
public:
    RequestLog() : first_(All().size()) {}

    std::vector<ServiceRequest> Requests() const;

private:
    static std::vector<ServiceRequest> All();

    std::size_t first_;
};

}  // namespace pixelforge::test
