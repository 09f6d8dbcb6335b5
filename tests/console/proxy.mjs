// Stands between a browser and the server: cuts the line, keeps silent, changes what the stream says, and hears what is
// posted. The server, be it the program or the mock, notices nothing.

import http from "node:http";

export async function proxy(target) {
    const { host, hostname, port } = new URL(target);
    const line = { posts: [], isCut: false, isSilent: false, change: null };

    const server = http.createServer((request, response) => {
        if (line.isCut) return void request.destroy();
        const headers = { ...request.headers, host };
        if (headers.origin) headers.origin = target;
        if (headers.referer) delete headers.referer;
        const onward = http.request({ hostname, port, method: request.method, path: request.url, headers }, (answer) => {
            response.writeHead(answer.statusCode, answer.headers);
            if (request.method === "POST") line.posts.push([request.url, body, answer.statusCode]);
            if (request.url !== "/api/stream") return void answer.pipe(response);
            let text = "";
            answer.setEncoding("utf8").on("data", (piece) => {
                if (line.isSilent) return;
                text += piece;
                const blocks = text.split("\n\n");
                text = blocks.pop();
                for (const block of blocks) {
                    const changed = line.change ? line.change(block) : block;
                    if (changed !== null) response.write(`${changed}\n\n`);
                }
            });
            answer.on("end", () => response.end());
            response.on("close", () => answer.destroy());
        });
        onward.on("error", () => response.destroy());
        let body = "";
        request.setEncoding("utf8").on("data", (piece) => (body += piece));
        request.on("end", () => onward.end(body));
    });
    await new Promise((ready) => server.listen(0, "127.0.0.1", ready));
    return Object.assign(line, {
        url: `http://127.0.0.1:${server.address().port}`,
        cut() {
            line.isCut = true;
            server.closeAllConnections();
        },
        mend() {
            line.isCut = false;
        },
        // In the newest text of a panel.
        replacePanel(panel, replace) {
            line.change = (block) =>
                new RegExp(`^event: ${panel}$`, "m").test(block)
                    ? block.replace(/^data: (.*)$/m, (_, json) => `data: ${JSON.stringify(replace(JSON.parse(json)))}`)
                    : block;
        },
        close() {
            server.closeAllConnections();
            server.close();
        },
    });
}
