// A C++ program built against the installed library through find_package,
// with the installed C++ convenience header.
#include <ZovCommon.hpp>

#include <cstdio>
#include <string>
#include <string_view>

int main() {
    zov::NodePtr root(newZovNode("Command", nullptr));
    addNewZovSubNode(root.get(), "hostName", "device-17");
    const char *host = getSubNodeContentByName(root.get(), "hostName");

    std::string guid;
    zov::EnvelopeParser parser;
    parser.onResult = [&](zov::ParsedResultPtr result) { guid = result->guid ? result->guid : ""; };
    bool parsed = parser.parse(std::string_view(
        "<zovMessage><resultEnvelope><eventGuid>installed</eventGuid><success/></resultEnvelope></zovMessage>"));

    std::printf("C++ consumer: %s, %s\n", host ? host : "(null)", guid.c_str());
    return host != nullptr && parsed && guid == "installed" ? 0 : 1;
}
