// Device configuration: the input is the body of a "configureDevice" command
// inside a fixed, valid envelope, so that the time goes into the section
// readers of parseConfigurationCommand rather than into the envelope.
#include <string>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string xml =
        "<?xml version=\"1.0\"?><zovMessage><commandSet><commandEnvelope><commandGuid>g</commandGuid>"
        "<configureDevice>" + std::string(fuzz::bytes(data, size)) +
        "</configureDevice></commandEnvelope></commandSet></zovMessage>";
    fuzz::Receiver receiver(true);
    if (XmlParserStruct *parser = receiver.makeParser()) {
        xmlParserParseChar(parser, xml.c_str());
        receiver.finish();
    }
    return 0;
}
