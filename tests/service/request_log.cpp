// Reads the service's log.
#include "tests/service/request_log.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <rapidjson/document.h>

namespace pixelforge::test {

std::vector<ServiceRequest> RequestLog::Requests() const {
    std::vector<ServiceRequest> requests = All();
    requests.erase(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(first_));
    return requests;
}

std::vector<ServiceRequest> RequestLog::All() {
    const char* path = std::getenv("PIXELFORGE_SERVICE_LOG");
    std::ifstream file(path ? path : "");
    if (!file) {
        throw std::runtime_error("no log of the test service: these tests run by way of with_service");
    }
    std::vector<ServiceRequest> requests;
    for (std::string line; std::getline(file, line);) {
        rapidjson::Document entry;
        entry.Parse(line.c_str());
        ServiceRequest request{entry["host"].GetString(), entry["path"].GetString(), {}};
        const auto& headers = entry["headers"];
        for (rapidjson::SizeType i = 0; i < headers.Size(); ++i) {
            request.headers[headers[i][0].GetString()] = headers[i][1].GetString();
        }
        requests.push_back(std::move(request));
    }
    return requests;
}

}  // namespace pixelforge::test
