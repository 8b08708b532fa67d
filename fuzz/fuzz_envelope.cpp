// The envelope parser on a whole server document, with every callback set:
// parsed once from a string and once from a chain, every record read and
// released as the ownership rules say, every command also read as a device
// configuration. Parsed once more with no callback set, where the parser
// releases every record itself.
#include <string>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string xml(fuzz::bytes(data, size));

    fuzz::Receiver fromString(true);
    if (XmlParserStruct *parser = fromString.makeParser()) {
        xmlParserParseChar(parser, xml.c_str());
        fromString.finish();
    }

    fuzz::Receiver fromChain(true);
    CharBuffer *chain = fuzz::chainOf(xml, static_cast<unsigned>(size));
    if (XmlParserStruct *parser = fromChain.makeParser()) {
        xmlParserParseCharBuffer(parser, chain);
        fromChain.finish();
    }
    freeAllCharBuffers(chain);

    if (XmlParserStruct *parser = initXmlParser()) {
        xmlParserParseChar(parser, xml.c_str());
        endXmlParser(parser);
    }
    return 0;
}
