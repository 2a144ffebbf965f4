// What another client costs: reads the nodes of the benchmark's server with node-opcua, where node
// finds it (NODE_PATH or a folder node_modules above), and prints a line "figures: " with its version
// and the CPU time of a call in nanoseconds, kernel and helping threads included, for one node and
// for 200.
//
// usage: node peer.cjs URL NAMESPACE FIRST-NODE
"use strict";

const fs = require("fs");
const os = require("os");
const path = require("path");
const opcua = require("node-opcua");
const { version } = require("node-opcua/package.json");

const samples = 15;

async function cpuOfCall(session, nodes, calls) {
    const before = process.cpuUsage();
    for (let i = 0; i < calls; ++i) {
        const values = await session.read(nodes, 0);
        if (values.length !== nodes.length || values.some((value) => !value.statusCode.isGood())) {
            throw new Error("a read that failed");
        }
    }
    const { user, system } = process.cpuUsage(before);
    return (1000 * (user + system)) / calls;
}

/// The median over samples, behind one that only warms up.
async function measure(session, nodes, calls) {
    await cpuOfCall(session, nodes, 10 * calls);
    const figures = [];
    for (let i = 0; i < samples; ++i) figures.push(await cpuOfCall(session, nodes, calls));
    return figures.sort((a, b) => a - b)[(samples - 1) / 2];
}

/// Also for a connection in clear it makes itself a certificate, in that folder.
async function readAll(folder, url, namespace, first) {
    const client = opcua.OPCUAClient.create({
        clientCertificateManager: new opcua.OPCUACertificateManager({ rootFolder: folder }),
        connectionStrategy: { maxRetry: 0 },
    });
    await client.connect(url);
    const session = await client.createSession();
    const nodes = Array.from({ length: 200 }, (_, i) => ({
        nodeId: `ns=${namespace};i=${Number(first) + i}`,
        attributeId: opcua.AttributeIds.Value,
    }));
    const one = await measure(session, nodes.slice(0, 1), 200);
    const many = await measure(session, nodes, 40);
    await session.close();
    await client.disconnect();
    console.log(`figures: ${version} ${one.toFixed(0)} ${many.toFixed(0)}`);
}

async function main(url, namespace, first) {
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), "nimb-peer-"));
    try {
        await readAll(folder, url, namespace, first);
    } finally {
        fs.rmSync(folder, { recursive: true });
    }
}

main(...process.argv.slice(2)).catch((error) => {
    console.error(`peer: ${error.message}`);
    process.exit(1);
});
