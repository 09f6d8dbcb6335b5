// Requests that are malformed, too large or meant to be read in two ways.
#include "host/console/HttpHead.h"

#include "tests/host/console/ConsoleBench.h"

namespace {

using Host::HttpHead;
using tests::ConsoleBench;
using tests::ConsolePeer;

struct Case {
    const char* name;
    std::string bytes;
    int status;  // 0: whole, 1: partial
};

TEST(HttpHead, IsReadStrictly) {
    const std::string get = "GET / HTTP/1.1\r\nHost: a\r\n";
    const std::string post = "POST / HTTP/1.1\r\nHost: a\r\n";
    const auto line = [](const std::string& text) { return text + "\r\nHost: a\r\n\r\n"; };
    std::string lines = get;
    for (std::size_t i = 1; i < HttpHead::MaxLines; ++i) lines += "a: b\r\n";
    for (const Case& at : std::vector<Case>{
             {"least", get + "\r\n", 0},
             {"empty", "", 1},
             {"without its end", get + "\r", 1},
             {"as many lines as there may be", lines + "\r\n", 0},
             {"one more line", lines + "a: b\r\n\r\n", 431},
             {"one line after the other", lines + "a: b\r\na: b\r\na: b\r\n", 431},
             {"too large", get + "a: " + std::string(HttpHead::MaxBytes, 'b'), 431},
             {"long target", line("GET /" + std::string(HttpHead::MaxTarget, 'a') + " HTTP/1.1"), 414},
             {"target without end", "GET /" + std::string(3000, 'a'), 414},
             {"TLS", "\x16\x03\x01", 400},
             {"HTTP/2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505},
             {"HTTP/0.9", line("GET /"), 400},
             {"method", line("DELETE / HTTP/1.1"), 405},
             {"method in small letters", line("get / HTTP/1.1"), 400},
             {"method without end", std::string(100, 'A'), 400},
             {"blank line before", "\r\n" + get + "\r\n", 400},
             {"absolute target", line("GET http://a/ HTTP/1.1"), 400},
             {"two blanks", line("GET  / HTTP/1.1"), 400},
             {"blank in target", line("GET /a b HTTP/1.1"), 400},
             {"encoded", line("GET /%41%c3%A4?a=%20 HTTP/1.1"), 0},
             {"encoded zero", line("GET /%00 HTTP/1.1"), 400},
             {"encoded line break", line("GET /%0d%0aa HTTP/1.1"), 400},
             {"half encoded", line("GET /%4 HTTP/1.1"), 400},
             {"encoded in the way of scripts", line("GET /%u0041 HTTP/1.1"), 400},
             {"no host", "GET / HTTP/1.1\r\n\r\n", 400},
             {"two hosts", get + "Host: b\r\n\r\n", 400},
             {"blank before colon", get + "a : b\r\n\r\n", 400},
             {"folded", get + "a: b\r\n c\r\n\r\n", 400},
             {"no colon", get + "a\r\n\r\n", 400},
             {"lone line feed", get + "a: b\nc: d\r\n\r\n", 400},
             {"lone carriage return", get + "a: b\rc: d\r\n\r\n", 400},
             {"ends of another kind", "GET / HTTP/1.1\nHost: a\n\n", 400},
             {"zero in a value", get + std::string("a: \0\r\n\r\n", 8), 400},
             {"no length", post + "\r\n", 411},
             {"length", post + "Content-Length: 65536\r\n\r\n", 0},
             {"large length", post + "Content-Length: 65537\r\n\r\n", 413},
             {"larger than any number", post + "Content-Length: 18446744073709551617\r\n\r\n", 413},
             {"two lengths", post + "Content-Length: 1\r\ncontent-length: 1\r\n\r\n", 400},
             {"list of lengths", post + "Content-Length: 1, 1\r\n\r\n", 400},
             {"signed length", post + "Content-Length: +1\r\n\r\n", 400},
             {"empty length", post + "Content-Length: \r\n\r\n", 400},
             {"chunked", post + "Transfer-Encoding: chunked\r\n\r\n", 411},
             {"chunked with length", post + "Content-Length: 1\r\nTransfer-Encoding: x\r\n\r\n", 411},
             {"packed", post + "Content-Length: 1\r\nContent-Encoding: gzip\r\n\r\n", 415},
             {"body of a GET", get + "Content-Length: 1\r\n\r\n", 400},
             {"expects more", post + "Content-Length: 1\r\nExpect: tea\r\n\r\n", 417},
         }) {
        HttpHead head;
        const HttpHead::State state = head.Parse(at.bytes);
        const int status = state == HttpHead::State::Whole     ? 0
                           : state == HttpHead::State::Partial ? 1
                                                               : head.GetStatus();
        EXPECT_EQ(status, at.status) << at.name;
        // It does not matter in which pieces it comes: what is whole was partial before.
        for (std::size_t size = 0; at.status == 0 && size < at.bytes.size(); ++size)
            EXPECT_EQ(HttpHead().Parse(std::string_view(at.bytes).substr(0, size)), HttpHead::State::Partial)
                << at.name << size;
    }
}

TEST(HttpFront, AnswersInOrderAndClosesAfterWhatItRefuses) {
    const ConsoleBench bench;
    const std::string get = bench.Get("/api/a?x=%41+b&y&x=2");
    ConsolePeer peer(bench.port);
    peer.Send(get + bench.Post("/api/health", R"({"n":1})") + bench.Get("/api/nothing") +
              "HEAD /api/b HTTP/1.1\r\nHost: localhost\r\n\r\n" + bench.Get("/api/fails") + "POST /api/c HTTP/1.1\r\n" +
              "Host: localhost\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n" + get);
    const std::string all = peer.ReadAll();
    std::vector<int> statuses;
    for (std::size_t at = 0; (at = all.find("HTTP/1.1 ", at)) != std::string::npos; at += 9)
        statuses.push_back(std::stoi(all.substr(at + 9, 3)));
    EXPECT_EQ(statuses, (std::vector<int>{200, 202, 404, 200, 500, 411})) << all;
    EXPECT_TRUE(peer.IsClosedWithin(0));
    EXPECT_NE(all.find("\r\n\r\na|x=A b|y="), std::string::npos) << all;
    EXPECT_NE(all.find("\r\n\r\nhealth|{\"n\":1}|127.0.0.1"), std::string::npos) << all;
    EXPECT_EQ(all.find("/the/path"), std::string::npos) << all;
    EXPECT_EQ(all.find("\r\n\r\nb"), std::string::npos) << "the body of a HEAD";
}

TEST(HttpFront, AnswersWhatTheRoutesSay) {
    ConsoleBench bench;
    ASSERT_TRUE(bench.hub.Publish("run", "{\"a\":1}"));
    std::string largest = bench.Post("/api/x", std::string(HttpHead::MaxBody, 'a'));
    const std::string page = bench.Ask(bench.Get("/"));
    const std::size_t tag = page.find("ETag: ");
    ASSERT_NE(tag, std::string::npos) << page;
    const std::string match = "If-None-Match: " + page.substr(tag + 6, page.find('\r', tag) - tag - 4);
    for (const Case& at :
         std::vector<Case>{{"page", bench.Get("/"), 200},
                           {"page again", bench.Get("/", match), 304},
                           {"login", bench.Get("/login"), 200},
                           {"script", bench.Get("/page/uPlot.esm.js"), 200},
                           {"range", bench.Get("/page/uPlot.esm.js", "Range: bytes=0-1,1-2,3-4\r\n"), 200},
                           {"packed", bench.Get("/page/uPlot.esm.js", "Accept-Encoding: gzip, br\r\n"), 200},
                           {"no asset", bench.Get("/page/none.js"), 404},
                           {"lock file", bench.Get("/page/package.json"), 404},
                           {"way up", bench.Get("/page/../index.html"), 404},
                           {"encoded way up", bench.Get("/page/%2e%2e%2findex.html"), 404},
                           {"machine", bench.Get("/etc/passwd"), 404},
                           {"panel", bench.Get("/api/panel/run"), 200},
                           {"no panel", bench.Get("/api/panel/none"), 404},
                           {"long path", bench.Get("/api/" + std::string(1900, 'a')), 404},
                           {"long parameters", bench.Get("/api/a?" + std::string(1900, '&')), 200},
                           {"largest body", largest, 202},
                           {"no command", bench.Post("/page/index.html", "{}"), 404}}) {
        const std::string answer = bench.Ask(at.bytes);
        EXPECT_EQ(ConsoleBench::Status(answer), at.status) << at.name << '\n' << answer.substr(0, 1000);
        EXPECT_EQ(answer.find("Content-Encoding"), std::string::npos) << at.name;
        EXPECT_NE(answer.find("\r\nContent-Security-Policy: "), std::string::npos) << at.name;
    }
    EXPECT_EQ(ConsoleBench::Body(bench.Ask(bench.Get("/api/panel/run"))), "{\"a\":1}");
    // A body that waits to be asked for.
    ConsolePeer peer(bench.port);
    const std::string post = bench.Post("/api/x", "{}", "Expect: 100-continue\r\n");
    peer.Send(post.substr(0, post.size() - 2));
    EXPECT_EQ(peer.ReadUntil("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
    peer.Send("{}");
    EXPECT_EQ(ConsoleBench::Status(peer.ReadAnswer()), 202);
}

}  // namespace
