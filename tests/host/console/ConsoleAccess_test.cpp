// Who is let in, and to what.
#include <thread>

#include "tests/host/console/ConsoleBench.h"

namespace {

using tests::ConsoleBench;
using tests::ConsolePeer;

struct Case {
    const char* name;
    std::string request;
    int status;
};

void Check(const ConsoleBench& bench, const std::vector<Case>& cases) {
    for (const Case& at : cases) {
        const std::string answer = bench.Ask(at.request);
        EXPECT_EQ(ConsoleBench::Status(answer), at.status) << at.name << '\n' << answer;
        for (const char* header : {"Content-Security-Policy: default-src 'none'; script-src 'self'",
                                   "X-Content-Type-Options: nosniff", "Cache-Control: no-"})
            EXPECT_NE(answer.find(header), std::string::npos) << at.name << '\n' << answer;
    }
}

TEST(ConsoleAccess, IsDecidedByPeerHostAndHeaders) {
    const ConsoleBench bench(ConsoleBench::WithTokens());
    const std::string port = ":" + std::to_string(bench.port);
    const auto get = [](const std::string& host, const std::string& headers = {}) {
        return "GET /api/me HTTP/1.1\r\nHost: " + host + "\r\n" + headers + "\r\n";
    };
    const auto post = [](const std::string& headers) {
        return "POST /api/health HTTP/1.1\r\n" + headers + "Content-Length: 2\r\n\r\n{}";
    };
    const std::string own = "Host: " + bench.host + "\r\n";
    const std::string json = "Content-Type: application/json\r\n";
    Check(
        bench,
        {
            {"own", get(bench.host), 200},
            {"name", get("localhost" + port), 200},
            {"capital name with a dot", get("LocalHost." + port), 200},
            {"another loopback address", get("127.9.9.9" + port), 200},
            {"IPv6", get("[::1]" + port), 200},
            {"IPv4 in IPv6", get("[::ffff:127.0.0.1]" + port), 200},
            {"without port", get("localhost"), 200},
            {"another port", get("localhost:1"), 421},
            {"listed, but not loopback", get("bridge.example"), 401},
            {"listed, any port", get("bridge.example:444"), 401},
            {"unlisted", get("evil.example" + port), 421},
            {"unlisted with a listed beginning", get("localhost.evil.example" + port), 421},
            {"short form of an address", get("127.1" + port), 421},
            {"encoded", get("%6cocalhost" + port), 400},
            {"with a user", get("localhost@evil.example"), 400},
            {"port of letters", get("localhost:http"), 400},
            {"brackets without IPv6", get("[localhost]"), 400},
            {"unlisted page", "GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421},
            {"page of a listed host", "GET / HTTP/1.1\r\nHost: bridge.example\r\n\r\n", 200},
            {"Forwarded", get(bench.host, "Forwarded: for=192.0.2.1\r\n"), 401},
            {"X-Forwarded-For", get(bench.host, "x-forwarded-for: 127.0.0.1\r\n"), 401},
            {"X-Forwarded-Proto", get(bench.host, "X-Forwarded-Proto: https\r\n"), 401},
            {"X-Real-IP", get(bench.host, "X-Real-IP: 127.0.0.1\r\n"), 401},
            {"Via, empty", get(bench.host, "Via:\r\n"), 401},
            {"cookie of nobody", get("bridge.example", "Cookie: gnss_console=" + std::string(64, '0') + "\r\n"), 401},
            {"fetched by another site", get(bench.host, "Sec-Fetch-Site: cross-site\r\n"), 403},
            {"fetched by a neighbour", get(bench.host, "Sec-Fetch-Site: same-site\r\n"), 403},
            {"fetched by another site, spelt otherwise",
             "GET /%61pi/stream HTTP/1.1\r\n" + own + "Sec-Fetch-Site: cross-site\r\n\r\n", 403},
            {"typed", get(bench.host, "Sec-Fetch-Site: none\r\n"), 200},
            {"linked page", bench.Get("/", "Sec-Fetch-Site: cross-site\r\n"), 200},
            {"origin of another site", bench.Get("/", "Origin: http://evil.example\r\n"), 403},
            {"post without origin", post(own + json), 403},
            {"post of another origin", post(own + json + "Origin: http://evil.example\r\n"), 403},
            {"post of another port", post(own + json + "Origin: http://127.0.0.1:1\r\n"), 403},
            {"post of no origin", post(own + json + "Origin: null\r\n"), 403},
            {"post by Sec-Fetch-Site", post(own + json + "Sec-Fetch-Site: same-origin\r\n"), 202},
            {"post that was typed", post(own + json + "Sec-Fetch-Site: none\r\n"), 403},
            {"post of two minds",
             post(own + json + "Sec-Fetch-Site: cross-site\r\nOrigin: http://" + bench.host + "\r\n"), 403},
            {"post by TLS of a proxy", post("Host: bridge.example\r\nOrigin: https://bridge.example\r\n" + json), 401},
            {"post by TLS, default port named",
             post("Host: bridge.example:443\r\nOrigin: https://bridge.example\r\n" + json), 401},
            {"post of a form",
             post(own + "Content-Type: application/x-www-form-urlencoded\r\nOrigin: http://" + bench.host + "\r\n"),
             415},
            {"post of text", post(own + "Content-Type: text/plain\r\nOrigin: http://" + bench.host + "\r\n"), 415},
            {"post with a charset",
             post(own + "Content-Type: Application/JSON; charset=UTF-8\r\nOrigin: http://" + bench.host + "\r\n"), 202},
        });
}

TEST(ConsoleAccess, OfATokenLastsAsLongAsItsSession) {
    auto settings = ConsoleBench::WithTokens();
    settings.tokenAlways = true;
    const ConsoleBench bench(std::move(settings));
    const std::string view = bench.LogIn(ConsoleBench::View);
    const std::string steer = bench.LogIn(ConsoleBench::Steer);
    ASSERT_EQ(view.size(), steer.size());
    ASSERT_NE(view, steer);
    EXPECT_EQ(bench.LogIn("another-token-that-is-wrong"), "");
    EXPECT_EQ(ConsoleBench::Body(bench.Ask(bench.Get("/api/me", view))),
              R"({"login":true,"right":"view","version":"1.2.3"})");
    EXPECT_EQ(ConsoleBench::Body(bench.Ask(bench.Get("/api/me", steer))),
              R"({"login":true,"right":"steer","version":"1.2.3"})");
    const std::string login =
        bench.Ask(bench.Post("/login", R"({"token":"the-token-of-lookers"})", "X-Forwarded-Proto: https\r\n"));
    EXPECT_EQ(ConsoleBench::Status(login), 204);
    EXPECT_NE(login.find("; Path=/; HttpOnly; SameSite=Strict; Max-Age=2592000; Secure\r\n"), std::string::npos)
        << login;
    const std::string twice = steer.substr(0, steer.size() - 2) + "; gnss_console=1\r\n";
    Check(bench, {
                     {"nobody", bench.Get("/api/me"), 401},
                     {"nobody's stream", bench.Get("/api/stream"), 401},
                     {"nobody's command", bench.Post("/api/health", "{}"), 401},
                     {"page for nobody", bench.Get("/"), 200},
                     {"looker looks", bench.Get("/api/sky.svg", view), 200},
                     {"looker steers", bench.Post("/api/health", "{}", view), 403},
                     {"helmsman steers", bench.Post("/api/health", "{}", steer), 202},
                     {"two sessions at once", bench.Get("/api/me", twice), 401},
                     {"no token", bench.Post("/login", "{}"), 400},
                     {"token of a kind", bench.Post("/login", R"({"token":["the-token-of-lookers"]})"), 400},
                     {"no JSON", bench.Post("/login", std::string(60000, '[')), 400},
                     {"empty token", bench.Post("/login", R"({"token":""})"), 401},
                     {"beginning of a token", bench.Post("/login", R"({"token":"the-token-of-"})"), 401},
                     {"token and more", bench.Post("/login", R"({"token":"the-token-of-lookers\u0000"})"), 401},
                 });
    // A stream ends with its session.
    ConsolePeer stream(bench.port);
    stream.Send(bench.Get("/api/stream", steer));
    EXPECT_NE(stream.ReadUntil("\r\n\r\n").find("text/event-stream"), std::string::npos);
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Post("/logout", "{}", steer))), 204);
    EXPECT_TRUE(stream.IsClosedWithin(5000));
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/me", steer))), 401);
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/me", view))), 200);
}

// Also one that was on its way when the session ended, and one whose session has made room for another.
TEST(ConsoleAccess, LeavesNoStreamWithoutASession) {
    auto settings = ConsoleBench::WithTokens();
    settings.tokenAlways = true;
    settings.bounds.maxSessions = 1;
    const ConsoleBench bench(std::move(settings));
    std::vector<ConsolePeer> peers;
    for (int i = 0; i < 40; ++i) {
        const std::string view = bench.LogIn(ConsoleBench::View);
        peers.emplace_back(bench.port).Send(bench.Get("/api/stream", view));
        if (i % 2 == 0) {
            peers.emplace_back(bench.port).Send(bench.Post("/logout", "{}", view));
        } else {
            EXPECT_NE(peers.back().ReadUntil("\r\n\r\n").find("text/event-stream"), std::string::npos);
        }
    }
    const std::string last = bench.LogIn(ConsoleBench::Steer);
    EXPECT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().streams == 0; }));
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/me", last))), 200);
}

TEST(ConsoleAccess, IsGuessedOnceASecondAtMost) {
    auto settings = ConsoleBench::WithTokens();
    settings.bounds.loginWait = std::chrono::seconds(1);
    const ConsoleBench bench(std::move(settings));
    const std::string wrong = bench.Post("/login", R"({"token":"a-token-that-is-wrong"})");
    const std::string right = bench.Post("/login", R"({"token":"the-token-of-lookers"})");
    Check(bench, {{"first", wrong, 401}, {"second", wrong, 429}, {"not even the right one", right, 429}});
    std::this_thread::sleep_for(std::chrono::milliseconds(1050));
    Check(bench, {{"later", right, 204}, {"and again", right, 204}, {"wrong again", wrong, 401}});
}

TEST(ConsoleAccess, FromOtherMachinesNeedsATokenAndAHost) {
    struct Row {
        const char* address;
        const char* token;
        bool tokenAlways;
        const char* host;
        bool isGood;
    };
    for (const Row& row : {Row{"127.0.0.1", "", false, "a.example", true},
                           {"127.0.0.1", "", true, "a.example", false},
                           {"", "", false, "a.example", false},
                           {"0.0.0.0", "0123456789abcdef", false, "a.example:80", true},
                           {"::1", "", false, "[fd00::1]:80", true},
                           {"::", "0123456789abcde", false, "a", false},
                           {"::1", "0123456789abcde\n", false, "a", false},
                           {"::1", "", false, "http://a.example", false},
                           {"name.example", "0123456789abcdef", false, "a", false}}) {
        Host::ConsoleServerSettings settings;
        settings.address = row.address;
        settings.viewToken = Host::Secret(row.token);
        settings.tokenAlways = row.tokenAlways;
        settings.hosts = {row.host};
        std::string reason;
        EXPECT_EQ(settings.Check(reason), row.isGood) << row.address << ' ' << row.host << ' ' << reason;
        EXPECT_EQ(reason.empty(), row.isGood);
        EXPECT_TRUE(*row.token == 0 || reason.find(row.token) == std::string::npos) << reason;
    }
    auto alike = ConsoleBench::WithTokens();
    alike.viewToken = alike.steerToken;
    std::string why;
    EXPECT_FALSE(alike.Check(why)) << "who may look could steer";
    // Every interface: the numeric address that was connected to is a Host, and lets nobody in by itself.
    auto settings = ConsoleBench::WithTokens();
    settings.address = "";
    ConsoleBench bench(std::move(settings));
    for (const auto& [address, host, status] :
         {std::tuple{"127.0.0.2", "127.0.0.2", 200}, {"::1", "[::1]", 200}, {"::1", "192.0.2.7", 421}}) {
        ConsolePeer peer(bench.port, address);
        peer.Send(std::string("GET /api/me HTTP/1.1\r\nHost: ") + host + ':' + std::to_string(bench.port) + "\r\n\r\n");
        EXPECT_EQ(ConsoleBench::Status(peer.ReadAnswer()), status) << address << ' ' << host;
    }
}

TEST(ConsoleAccess, AddressesAreReadAsAPersonWritesThem) {
    for (const auto& [text, wanted] : {std::pair{"", "127.0.0.1 8080"},
                                       {"9000", "127.0.0.1 9000"},
                                       {":9000", "127.0.0.1 9000"},
                                       {"localhost:9000", "127.0.0.1 9000"},
                                       {"*:0", " 0"},
                                       {"[::1]:80", "::1 80"},
                                       {"[::]", ":: 8080"},
                                       {"::1", "::1 8080"},
                                       {"192.0.2.1", "192.0.2.1 8080"},
                                       {"a.example:80", "refused"},
                                       {"1.2.3.4:", "refused"},
                                       {"1.2.3.4:65536", "refused"},
                                       {"1.2.3.4:+80", "refused"}}) {
        std::string address;
        std::string reason;
        int port = 0;
        const bool isGood = Host::ConsoleServerSettings::ParseAddress(text, address, port, reason);
        EXPECT_EQ(isGood ? address + ' ' + std::to_string(port) : "refused", wanted) << text;
    }
}

}  // namespace
