// Exhausted memory on both roads of a message: MIME decoding and packaging, base64, the envelope
// parser, the XML writer and the tag search.
#include <gtest/gtest.h>

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

std::string partsOf(const MimeStruct *part) {
    std::string out;
    for (; part != nullptr; part = part->next) {
        for (const auto &[name, value] : pairsOf(part->headers)) out += name + "=" + value + ";";
        out += "\n" + textOf(part->body) + "\n";
    }
    return out;
}

// The five kinds of record, with text to escape, nesting and a pretty-printed element.
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
    Scope unarmed(false);
    Delivered::keep(delivered, record);
}

// The deliveries of parsing xml (from a chain: copied into one first), without the strings a record
// lacks; nothing when no parser could be made.
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
    std::string out = "rc " + std::to_string(delivered.finish(rc)) + "\n" + delivered.summary();
    for (std::size_t at; (at = out.find("(null)")) != std::string::npos;) out.erase(at, 6);
    // A node that lost its sub-nodes loses the layout text the summary leaves out.
    for (std::size_t at = out.find('='); at != std::string::npos; at = out.find('=', at + 1)) {
        const std::size_t last = out.find_last_of('\n', out.find_first_not_of(" \t\r\n", at + 1));
        if (last != std::string::npos && last > at + 1) out.erase(at, last - at);
    }
    return out;
}

constexpr char kLinkFailed[] = "addDataToCharBuffer: Error in adding CharBuffer\n";
// Without memory MIME decoding fails (-1) or loses a part, a header or the end of a content (a line
// that cannot be held ends the input); parsing loses an element's node or text, a record (its
// constructor's report is checked in full with the constructors), a field or the rest of the document.
const std::vector<std::string> kLosses = {
    kLinkFailed, "processMime: Error while memory allocation\n", "getMimePart: Error while memory allocation\n",
    "getMimePart: getMimePart: Error, couldn't find boundaryToken", "newZov",
    "decodeMimeCharBuffer: boundaryToken not found in Content-Type header=",
    "handleNewStart: Unexpected NULL rootNode\n", "endElementHandler: Error while memory allocation.\n",
    "addZovSubNodeDepth: trying to add at a depth greater than possible in current tree\n",
    "characterDataHandler: Error while memory allocation\n", "endElementHandler: Got unknown command tag '",
    "endElementHandler: Unexpected null contents getting "};
const std::vector<Accept> kAccepts = {oneOf({{"rc -1\n", ""}, {"", ""}, {"rc -1\n device \n", ""}}),
                                      fails("rc -1\n", kLosses), loses(kLosses)};

// MIME decoding of a body whose headers are pairs, by processMime (with the envelope parser on the
// text it hands back) or by decodeMimeCharBuffer.
std::string decode(const HeaderPairs &pairs, const std::string &body, bool process) {
    HeaderPairs all = pairs;
    all.emplace_back("Content-Length", std::to_string(body.size()));
    Headers headers(all);
    auto *parts = process ? nullptr : static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    char *xml = nullptr;
    Chain input = chain(body);
    const int rc = armed([&] {
        return process ? processMime(headers.head, body.data(), &xml, &parts)
                       : decodeMimeCharBuffer(headers.head, input.get(), parts);
    });
    std::string out = "rc " + std::to_string(rc) + "\n" + (rc == 0 ? partsOf(parts) : "") + (xml ? parse(xml) : "");
    std::free(xml);
    freeMimeStruct(parts);
    return out;
}

// decode, accepted as accepts allow or, silently, as on the body without its transfer encoding
// header: a header that cannot be stored is left out.
Operation decoding(const std::string &name, const HeaderPairs &pairs, const std::string &body,
                   std::vector<Accept> accepts = kAccepts) {
    const bool process = name.rfind("processMime", 0) == 0;
    constexpr std::string_view kLine = "Content-Transfer-Encoding: base64\r\n";
    if (const std::size_t at = body.find(kLine); at != std::string::npos) {
        LogCapture quiet(0);
        const std::string lost = decode(pairs, std::string(body).erase(at, kLine.size()), process);
        accepts.push_back([lost](const Outcome &got, const Outcome &clean) {
            return got.value == lost && isSubsequence(got.reports, clean.reports);
        });
    }
    return {name, [=] { return decode(pairs, body, process); }, accepts};
}

}  // namespace

TEST(Torture, Messages) {
    // The document, then an attachment in base64, with an illegal character in its first slice of
    // 1000 characters, under a boundary token too long to be kept without an allocation.
    std::string encoded = base64Text(randomBytes(1500)), delimiter = "--" + std::string(30, 'b');
    encoded[10] = '*';
    const HeaderPairs type = {{"Content-Type", "multipart/mixed; boundary=\"" + delimiter.substr(2) + "\""}};
    const std::string body = delimiter + "\r\nContent-Type: text/xml\r\n\r\n" + kDocument + "\r\n" + delimiter +
                             "\r\nContent-Transfer-Encoding: base64\r\n\r\n" + encoded + "\r\n" + delimiter + "--\r\n";
    failEachAllocation({
        decoding("decodeMimeCharBuffer", type, body),
        // A copy of a plain body ends silently where a link cannot be made.
        decoding("decodeMimeCharBuffer plain", {{"Content-Type", "text/plain"}}, std::string(2500, 'p'), {loses({})}),
        decoding("processMime plain", {{"Content-Type", "text/xml"}}, kDocument),
        decoding("processMime multipart", type, body),
        {"envelope parser, chain", [] { return parse(kDocument, true); }, kAccepts},
        {"base64DecodeCharBuffer", [] {
             Chain source = chain(base64Text(randomBytes(1875))), dest(createCharBuffer(), freeAllCharBuffers);
             const int rc = armed([&] { return base64DecodeCharBuffer(dest.get(), source.get()); });
             return (rc == getTotalBufferLength(dest.get()) ? "length\n" : "wrong length\n") + textOf(dest.get());
         }, {loses({kLinkFailed})}},
        // A NULL package leaves the parts (decoded from body, with its report) as they were.
        {"packageMime", [&] {
             Headers headers(type);
             Chain input = chain(body);
             auto *parts = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
             decodeMimeCharBuffer(headers.head, input.get(), parts);
             const std::string before = partsOf(parts);
             MimeStruct *out = armed([&] { return packageMime(parts); });
             std::string text = (out ? "package\n" + partsOf(out) : "NULL\n") + (partsOf(parts) == before ? "" : "?");
             freeMimeStruct(out);
             freeMimeStruct(parts);
             return text;
         }, {[](const Outcome &got, const Outcome &clean) {
                 return got.value == "NULL\n" && got.reports == clean.reports;
             }, loses({kLinkFailed})}},
        {"addXmlHeader", [] {
             Chain written = chain(std::string(990, '-'));  // the header needs a new link
             const int rc = armed([&] { return addXmlHeader(written.get()); });
             return std::to_string(rc) + "\n" + textOf(written.get());
         }, {oneOf({{"-1\n" + std::string(990, '-') + "<?xml vers", kLinkFailed}})}},
        // The writer at large: escaped text, nodes nested five deep, new links.
        {"getCharBufferFromCommandStruct", [] {
             ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("reboot", "g<1>");
             ZovNode *node = command->rootNode;
             for (const char *name : {"P", "Q", "R", "S", "T"}) node = addNewZovSubNode(node, name, nullptr);
             addNewZovSubNode(node, "U", "u < v & \"w\" it's");
             addNewZovSubNode(command->rootNode, "note", std::string(1000, 'n').c_str());
             Chain written(armed([&] { return getCharBufferFromCommandStruct(command); }), freeAllCharBuffers);
             freeZovCommandStruct(command);
             return written ? "chain\n" + textOf(written.get()) : "NULL\n";
         }, {fails("NULL\n", {"addDataToCharBuffer: bufferPointer and data cannot be NULL\n",
                              "addStringElement: bad arguments\n",
                              "getCharBufferFromCommandStruct: Error while memory allocation\n"}),
             loses({kLinkFailed, "addStringElement: Error, could not escape XML data"})}},
        {"getXmlTagPosition", [] {
             static constexpr char kXml[] = "<a><b>text</b></a>";
             char *contents = nullptr;
             const char *after = armed([&] { return getXmlTagPosition(kXml, "b", &contents); });
             std::string text = "after " + std::to_string(after - kXml) + "\n" + str(contents);
             std::free(contents);
             return text;
         }, {oneOf({{"after 14\n(null)", "getXmlTagPosition: Error while allocation memory\n"}})}},
    });
}
