// Exhausted memory on both roads of a message: MIME decoding and packaging,
// base64, the envelope parser, the XML writer and the tag search. Each run
// ends as specified (-1, NULL, a part or element that is cut short, with the
// reports) or succeeds, and leaves no block behind.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "Allocations.h"
#include "Base64.h"
#include "HandlerTools.h"
#include "MimeTools.h"
#include "XmlFunctions.h"
#include "XmlParserHarness.h"

using namespace torture;

namespace {

using Chain = std::unique_ptr<CharBuffer, decltype(&freeAllCharBuffers)>;
Chain chain(std::string_view text) { return Chain(chainOf(text), freeAllCharBuffers); }

// Bytes as text: anything but printable ASCII and line feeds as \xNN.
std::string printable(std::string_view bytes) {
    std::string out;
    for (unsigned char c : bytes) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
        out += (c >= 32 && c < 127) || c == '\n' ? std::string(1, static_cast<char>(c)) : escaped;
    }
    return out;
}

std::string partsOf(const MimeStruct *part) {
    std::string out;
    for (; part != nullptr; part = part->next) {
        for (const auto &[name, value] : pairsOf(part->headers)) out += name + "=" + value + ";";
        out += "\n" + printable(textOf(part->body)) + "\n";
    }
    return out;
}

// A captured response of examples/responses: its headers and its body.
struct Response {
    HeaderPairs headers;
    std::string body;
};

Response load(const std::string &name) {
    std::ostringstream all;
    all << std::ifstream(std::string(ZOV_EXAMPLES_DIR) + "/" + name, std::ios::binary).rdbuf();
    const std::string text = all.str();
    const std::size_t end = text.find("\r\n\r\n");
    Response response{{}, text.substr(end + 4)};
    for (std::size_t at = text.find("\r\n") + 2; at < end;) {  // after the status line
        const std::size_t lineEnd = text.find("\r\n", at), colon = text.find(": ", at);
        response.headers.emplace_back(text.substr(at, colon - at), text.substr(colon + 2, lineEnd - colon - 2));
        at = lineEnd + 2;
    }
    return response;
}

// A multipart body whose base64 attachment holds an illegal character in its
// first slice of 1000 characters: decoded from there on only at the end. Its
// boundary token is too long to be kept without an allocation.
Response illegalBase64() {
    std::string encoded = base64Text(randomBytes(1500));
    encoded[10] = '*';
    const std::string delimiter = "--" + std::string(30, 'b');
    return {{{"Content-Type", "multipart/mixed; boundary=\"" + delimiter.substr(2) + "\""}},
            delimiter + "\r\nContent-Type: text/xml\r\n\r\n<zovMessage/>\r\n" + delimiter +
                "\r\nContent-Transfer-Encoding: base64\r\n\r\n" + encoded + "\r\n" + delimiter + "--\r\n"};
}

Response withLength(Response response) {
    response.headers.emplace_back("Content-Length", std::to_string(response.body.size()));
    return response;
}

// A chain that already holds 990 bytes, so that writing makes a link.
Chain almostFullLink() { return chain(std::string(990, '-')); }

constexpr char kEscapeFailed[] = "addStringElement: Error, could not escape XML data";
constexpr char kLinkFailed[] = "addDataToCharBuffer: Error in adding CharBuffer\n";

// The five kinds of record in one document, with text to escape, nesting and
// the layout of a pretty-printed element.
constexpr char kDocument[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><zovMessage><deviceGuid>dev-1</deviceGuid><commandSet>"
    "<commandEnvelope><commandGuid>g-1</commandGuid><reboot><delay>5</delay><reason>update &amp; restart</reason>"
    "</reboot></commandEnvelope><commandEnvelope><commandGuid>g-2</commandGuid><installPackage><package>\n      "
    "<name>agent.bin</name>\n      <size>1024</size>\n    </package></installPackage></commandEnvelope></commandSet>"
    "<resultEnvelope><commandGuid>g-0</commandGuid><success/><detail><message>applied</message></detail>"
    "</resultEnvelope><eventResultSet><assetLevel>2</assetLevel><nextAssetReportSeconds>900</nextAssetReportSeconds>"
    "<eventResultEnvelope><eventGuid>e-1</eventGuid><success/></eventResultEnvelope></eventResultSet>"
    "<noCommands><pollIntervalSeconds>300</pollIntervalSeconds></noCommands><dialog><dialogGuid>d-1</dialogGuid>"
    "<prompt><title>Maintenance</title><button>OK</button></prompt></dialog></zovMessage>";

template <typename Record>
void keep(void *delivered, Record *record) {
    Unarmed scope;
    Delivered::keep(delivered, record);
}

// Parses xml (from a chain: copied into one first) with all five callbacks
// set; the deliveries as text, the strings a record lacks left out. Nothing
// when no parser could be made.
std::string parse(const char *xml, bool fromChain = false) {
    Delivered delivered;
    Chain body = chain(xml);
    XmlParserStruct *parser = delivered.parser = armed(initXmlParser);
    if (parser == nullptr) return "";
    setXmlParserUserData(parser, &delivered);
    setXmlParserCommandCallBack(parser, keep<ZovCommandStruct>);
    setXmlParserResultCallBack(parser, keep<ZovResultStruct>);
    setXmlParserEventResultCallBack(parser, keep<ZovEventResultStruct>);
    setXmlParserNoCommandCallBack(parser, keep<ZovNoCommandStruct>);
    setXmlParserDialogCallBack(parser, keep<ZovDialogStruct>);
    const int rc = armed([&] {
        return fromChain ? xmlParserParseCharBuffer(parser, body.get()) : xmlParserParseChar(parser, xml);
    });
    delivered.finish(rc);
    std::string out = "rc " + std::to_string(rc) + "\n" + delivered.summary();
    for (std::size_t at; (at = out.find("(null)")) != std::string::npos;) out.erase(at, 6);
    // The summary leaves out the layout text of a node with sub-nodes; a node
    // that lost its sub-nodes loses that text too.
    for (std::size_t at = out.find('='); at != std::string::npos; at = out.find('=', at + 1)) {
        const std::size_t last = out.find_last_of('\n', out.find_first_not_of(" \t\r\n", at + 1));
        if (last != std::string::npos && last > at + 1) out.erase(at, last - at);
    }
    return out;
}

// What exhausted memory makes of MIME decoding: -1, or a result in which a
// part, a header or the end of a content is missing. A line that cannot be
// held ends the input: silently, or with the report of the part it cut.
const std::string kPartCut = "getMimePart: getMimePart: Error, couldn't find boundaryToken";
const std::vector<std::string> kMimeReports = {"processMime: Error while memory allocation\n",
                                               "getMimePart: Error while memory allocation\n", kPartCut,
                                               "decodeMimeCharBuffer: boundaryToken not found in Content-Type header="};
const std::vector<std::string> kMimeLosses = {kLinkFailed, "getMimePart: Error while memory allocation\n", kPartCut};
const Accept kSilentFailure = oneOf({{"rc -1\n", ""}});
// And of parsing: an element without its node or its text, a record or a
// field missing, or (expat out of memory) the rest of the document.
const std::vector<std::string> kParseLosses = {
    "handleNewStart: Unexpected NULL rootNode\n",
    "addZovSubNodeDepth: trying to add at a depth greater than possible in current tree\n",
    "characterDataHandler: Error while memory allocation\n", "endElementHandler: Error while memory allocation.\n",
    "endElementHandler: Got unknown command tag '", "endElementHandler: Unexpected null contents getting ",
    "newZovResultStruct: Error while memory allocation\n", "newZovEventResultStruct: Error while memory allocation\n",
    "newZovNoCommandStruct: Error while memory allocation\n", "newZovDialogStruct: Error while memory allocation\n"};

template <typename Item, typename... More>
std::vector<Item> joined(std::vector<Item> all, const More &...more) {
    (all.insert(all.end(), more.begin(), more.end()), ...);
    return all;
}

const Accept kParseFailures = anyOf({oneOf({{"", ""}, {"rc -1\n device \n", ""}}), loses(kParseLosses)});

// A part header that cannot be stored is left out, as if its line were not
// there: an attachment that loses its transfer encoding keeps its base64
// text. The outcome of run on body without that line, silently.
Accept orUndecoded(const std::function<std::string(const std::string &)> &run, std::string body) {
    constexpr std::string_view kLine = "Content-Transfer-Encoding: base64\r\n";
    const std::size_t at = body.find(kLine);
    if (at == std::string::npos) return oneOf({});
    return oneOf({{run(body.erase(at, kLine.size())), ""}});
}

// The inbound road: processMime on a response, then the envelope parser on
// the text it hands back.
Operation inbound(const std::string &name, const Response &response) {
    auto run = [headers = response.headers](const std::string &body) {
        Headers list(headers);
        char *text = nullptr;
        MimeStruct *rest = nullptr;
        const int rc = armed([&] { return processMime(list.head, body.data(), &text, &rest); });
        std::string out = "rc " + std::to_string(rc) + "\n" + partsOf(rest) + (text != nullptr ? parse(text) : "");
        std::free(text);
        freeMimeStruct(rest);
        return out;
    };
    return {"inbound " + name, [run, body = response.body] { return run(body); },
            anyOf({kSilentFailure, fails("rc -1\n", joined(kMimeReports, std::vector<std::string>{kLinkFailed})),
                   loses(joined(kMimeLosses, kParseLosses)), orUndecoded(run, response.body)})};
}

// A list of nodes nested five deep, with text to escape.
ZovNode *nestedNodes() {
    ZovNode *list = newZovNode("P", "p");
    ZovNode *node = list;
    for (const char *name : {"Q", "R", "S", "T"}) node = addNewZovSubNode(node, name, nullptr);
    addNewZovSubNode(node, "U", "u < v & \"w\"");
    addNewZovSubNode(list, "V", "");
    list->nextNode = newZovNode("W", "it's");
    return list;
}

std::string chainText(const Chain &written) { return "chain\n" + printable(textOf(written.get())); }

// decodeMimeCharBuffer of body, for a message with these headers.
Operation decoding(const std::string &name, const HeaderPairs &pairs, const std::string &body, const Accept &accept) {
    auto run = [pairs](const std::string &text) {
        Headers headers(pairs);
        Chain input = chain(text);
        auto *out = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
        const int rc = armed([&] { return decodeMimeCharBuffer(headers.head, input.get(), out); });
        std::string result = "rc " + std::to_string(rc) + "\n" + (rc == 0 ? partsOf(out) : "");
        return freeMimeStruct(out), result;
    };
    return {name, [run, body] { return run(body); }, anyOf({accept, orUndecoded(run, body)})};
}

// A new part with these headers and content, followed by next.
MimeStruct *part(const HeaderPairs &pairs, std::string_view content, MimeStruct *next = nullptr) {
    auto *made = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    for (const auto &[name, value] : pairs) httpPayloadAddHeader(&made->headers, name.c_str(), value.c_str());
    made->body = chainOf(content);
    made->next = next;
    return made;
}

// packageMime of the parts made by input: what it made, then its input, which
// it leaves as it was when it returns NULL.
Operation packaging(const std::string &name, MimeStruct *(*input)()) {
    MimeStruct *untouched = input();
    const std::string refused = "NULL\ninput " + partsOf(untouched);
    freeMimeStruct(untouched);
    return {name, [input] {
                MimeStruct *parts = input(), *out = armed([&] { return packageMime(parts); });
                std::string text = (out ? "package\n" : "NULL\n") + partsOf(out) + "input " + partsOf(parts);
                freeMimeStruct(out), freeMimeStruct(parts);
                return text;
            }, anyOf({oneOf({{refused, ""}}), loses({kLinkFailed})})};
}

}  // namespace

TEST(Torture, Transport) {
    const Response multipart = load("multipart-attachment.http");
    const Accept mimeFailures = anyOf({kSilentFailure, fails("rc -1\n", kMimeReports), loses(kMimeLosses)});
    std::vector<Operation> operations;
    for (const char *file : {"config-wired.http", "config-wireless.http", "dialog.http", "event-result.http",
                             "multipart-attachment.http", "no-commands.http", "result.http"})
        operations.push_back(inbound(file, load(file)));
    operations.push_back(inbound("illegal base64", withLength(illegalBase64())));
    const auto counts = failEachAllocation("transport", joined(operations, std::vector<Operation>{
        decoding("decodeMimeCharBuffer", multipart.headers, multipart.body, mimeFailures),
        // A copy of a plain body simply ends where a link cannot be made.
        decoding("decodeMimeCharBuffer plain", {{"Content-Type", "text/plain"}}, std::string(2500, 'p'),
                 loses({})),
        {"base64Decode", [] {
             unsigned char out[16];
             const int rc = armed([&] { return base64Decode(out, "TWFuTWE="); });
             return std::to_string(rc) + " " + reinterpret_cast<char *>(out);
         }, oneOf({})},
        {"base64DecodeCharBuffer", [] {
             Chain source = chain(base64Text(randomBytes(1875))), dest(createCharBuffer(), freeAllCharBuffers);
             const int rc = armed([&] { return base64DecodeCharBuffer(dest.get(), source.get()); });
             const std::string text = printable(textOf(dest.get()));
             return (rc == getTotalBufferLength(dest.get()) ? "length\n" : "wrong length\n") + text;
         }, loses({kLinkFailed})},
        packaging("packageMime", [] {
            return part({}, std::string(1200, 'e'), part({{"Content-Type", "application/octet-stream"}}, "ABC"));
        }),
        packaging("packageMime one part", [] { return part({{"X-Kind", "envelope"}}, std::string(1200, 'e')); }),
    }));
    EXPECT_EQ(counts.at("base64Decode"), 0);
}

TEST(Torture, Xml) {
    failEachAllocation("xml", {
        {"envelope parser, string", [] { return parse(kDocument); }, kParseFailures},
        {"envelope parser, chain", [] { return parse(kDocument, true); }, kParseFailures},
        {"addXmlHeader", [] {
             Chain written = almostFullLink();
             const int rc = armed([&] { return addXmlHeader(written.get()); });
             return std::to_string(rc) + "\n" + textOf(written.get());
         }, oneOf({{"-1\n" + std::string(990, '-') + "<?xml vers", kLinkFailed}})},
        {"addStringElement", [] {
             Chain written = almostFullLink();
             armed([&] { addStringElement(written.get(), "a", "x<y & \"z\""); });
             return chainText(written);
         }, loses({kLinkFailed, kEscapeFailed})},
        {"addSubNodeStringsRecursive", [] {
             Chain written = almostFullLink();
             std::unique_ptr<ZovNode, decltype(&freeZovNode)> nodes(nestedNodes(), freeZovNode);
             armed([&] { addSubNodeStringsRecursive(written.get(), nodes.get()); });
             return chainText(written);
         }, loses({kLinkFailed, kEscapeFailed, "addSubNodeStringsRecursive: Error while memory allocation\n"})},
        {"getCharBufferFromCommandStruct", [] {
             ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("reboot", "g<1>");
             addZovSubNode(command->rootNode, nestedNodes());
             addNewZovSubNode(command->rootNode, "note", std::string(1000, 'n').c_str());
             Chain written(armed([&] { return getCharBufferFromCommandStruct(command); }), freeAllCharBuffers);
             freeZovCommandStruct(command);
             return written ? chainText(written) : "NULL\n";
         }, anyOf({fails("NULL\n", {"addDataToCharBuffer: bufferPointer and data cannot be NULL\n",
                                    "addStringElement: bad arguments\n",
                                    "getCharBufferFromCommandStruct: Error while memory allocation\n"}),
                   loses({kLinkFailed, kEscapeFailed})})},
        {"xmlEscape", [] {
             char *escaped = armed([] { return xmlEscape("x<y & \"z\""); });
             std::string text = escaped ? escaped : "NULL";
             return std::free(escaped), text;
         }, oneOf({{"NULL", ""}})},
        {"getXmlTagPosition", [] {
             static constexpr char kXml[] = "<a><b>text</b></a>";
             char *contents = nullptr;
             const char *after = armed([&] { return getXmlTagPosition(kXml, "b", &contents); });
             std::string text = "after " + std::to_string(after - kXml) + "\n" + str(contents);
             return std::free(contents), text;
         }, oneOf({{"after 14\n(null)", "getXmlTagPosition: Error while allocation memory\n"}})},
    });
}
