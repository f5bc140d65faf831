#!/usr/bin/env node
// Calls two operations of a running CorvyStack helper over its socket: D-Bus messages between two
// peers, written and read by hand, without any package.
//
//     corvystack serve &
//     examples/node_client.mjs examples/guide.pdf
import { existsSync, readFileSync } from "node:fs";
import { connect } from "node:net";
import { resolve } from "node:path";

// The folder of the socket; the helper looks for it in the same order.
function runtimeFolder() {
  const { CORVYSTACK_RUNTIME_DIR: own, XDG_RUNTIME_DIR: session } = process.env;
  if (own) return own;
  if (session) return `${session}/corvystack`;
  const user = process.getuid();
  return existsSync(`/run/user/${user}`) ? `/run/user/${user}/corvystack` : `/tmp/corvystack-${user}`;
}

// A value with its D-Bus signature, in place of a variant.
const variant = (signature, value) => ({ signature, value });

const kAlignments = { y: 1, b: 4, n: 2, q: 2, i: 4, u: 4, x: 8, t: 8, d: 8, s: 4, o: 4, g: 1, a: 4, v: 1, "(": 8, "{": 8 };

// The length of the first complete type of a signature.
function typeLength(signature) {
  if (signature[0] === "a") return 1 + typeLength(signature.slice(1));
  if (!"({".includes(signature[0])) return 1;
  let depth = 0;
  for (let i = 0; ; ++i) {
    if ("({".includes(signature[i])) ++depth;
    if (")}".includes(signature[i]) && --depth === 0) return i + 1;
  }
}

function typesOf(signature) {
  const types = [];
  for (let rest = signature; rest; rest = rest.slice(types.at(-1).length)) {
    types.push(rest.slice(0, typeLength(rest)));
  }
  return types;
}

class Writer {
  chunks = [];
  length = 0;

  bytes(buffer) {
    this.chunks.push(buffer);
    this.length += buffer.length;
  }
  align(to) {
    this.bytes(Buffer.alloc((to - (this.length % to)) % to));
  }
  number(size, write) {
    const buffer = Buffer.alloc(size);
    write(buffer);
    this.bytes(buffer);
  }
  write(type, value) {
    this.align(kAlignments[type[0]]);
    switch (type[0]) {
      case "y": return this.number(1, (b) => b.writeUInt8(value));
      case "b": return this.number(4, (b) => b.writeUInt32LE(value ? 1 : 0));
      case "u": return this.number(4, (b) => b.writeUInt32LE(value));
      case "x": return this.number(8, (b) => b.writeBigInt64LE(BigInt(value)));
      case "s": case "o": {
        const text = Buffer.from(`${value}\0`);
        this.write("u", text.length - 1);
        return this.bytes(text);
      }
      case "g":
        this.write("y", value.length);
        return this.bytes(Buffer.from(`${value}\0`));
      case "v":
        this.write("g", value.signature);
        return this.write(value.signature, value.value);
      case "(":
        return typesOf(type.slice(1, -1)).forEach((part, i) => this.write(part, value[i]));
      case "a": {
        const element = type.slice(1);
        const size = Buffer.alloc(4);
        this.bytes(size);
        this.align(kAlignments[element[0]]);
        const start = this.length;
        if (element === "y") this.bytes(value);
        else for (const part of value) this.write(element, part);
        return size.writeUInt32LE(this.length - start);
      }
      default: throw new Error(`cannot write ${type}`);
    }
  }
  buffer() {
    return Buffer.concat(this.chunks);
  }
}

class Reader {
  constructor(buffer) {
    this.buffer = buffer;
    this.at = 0;
  }
  align(to) {
    this.at += (to - (this.at % to)) % to;
  }
  take(size, read) {
    this.at += size;
    return read.call(this.buffer, this.at - size);
  }
  text(length) {
    const text = this.buffer.toString("utf8", this.at, this.at + length);
    this.at += length + 1;
    return text;
  }
  read(type) {
    this.align(kAlignments[type[0]]);
    const { buffer } = this;
    switch (type[0]) {
      case "y": return this.take(1, buffer.readUInt8);
      case "b": return this.take(4, buffer.readUInt32LE) !== 0;
      case "n": return this.take(2, buffer.readInt16LE);
      case "q": return this.take(2, buffer.readUInt16LE);
      case "i": return this.take(4, buffer.readInt32LE);
      case "u": return this.take(4, buffer.readUInt32LE);
      case "x": return this.take(8, buffer.readBigInt64LE);
      case "t": return this.take(8, buffer.readBigUInt64LE);
      case "d": return this.take(8, buffer.readDoubleLE);
      case "s": case "o": return this.text(this.read("u"));
      case "g": return this.text(this.read("y"));
      case "v": return this.read(this.read("g"));
      case "(": case "{": return typesOf(type.slice(1, -1)).map((part) => this.read(part));
      case "a": {
        const element = type.slice(1);
        const size = this.read("u");
        this.align(kAlignments[element[0]]);
        const end = this.at + size;
        if (element === "y") return buffer.subarray(this.at, (this.at = end));
        const values = [];
        while (this.at < end) values.push(this.read(element));
        return element[0] === "{" ? Object.fromEntries(values) : values;
      }
      default: throw new Error(`cannot read ${type}`);
    }
  }
}

class Helper {
  #socket;
  #received = Buffer.alloc(0);
  #waiting = new Map();  // by serial number
  #serial = 0;

  static async connect() {
    const helper = new Helper();
    const socket = (helper.#socket = connect(`${runtimeFolder()}/CorvyStackHelper64.1`));
    const user = Buffer.from(String(process.getuid())).toString("hex");
    socket.write(`\0AUTH EXTERNAL ${user}\r\n`);
    await new Promise((done, fail) => {
      socket.once("error", fail);
      socket.once("close", () => fail(new Error("the helper has closed the connection")));
      socket.once("data", (line) => {
        if (!line.toString().startsWith("OK ")) return fail(new Error(line.toString().trim()));
        socket.write("BEGIN\r\n");
        done();
      });
    });
    socket.on("data", (data) => helper.#take(data));
    socket.on("close", () => {
      for (const { fail } of helper.#waiting.values()) fail(new Error("the helper has gone"));
    });
    return helper;
  }

  call(member, signature, ...values) {
    const serial = ++this.#serial;
    const body = new Writer();
    typesOf(signature).forEach((type, i) => body.write(type, values[i]));
    const head = new Writer();
    const [kCall, kVersion] = [1, 1];
    head.bytes(Buffer.from(["l".charCodeAt(0), kCall, 0, kVersion]));
    head.write("u", body.length);
    head.write("u", serial);
    head.write("a(yv)", [
      [1, variant("o", "/CorvyStackHelper")],
      [2, variant("s", "org.corvystack.ImExport1")],
      [3, variant("s", member)],
      [8, variant("g", signature)],
    ]);
    head.align(8);
    this.#socket.write(Buffer.concat([head.buffer(), body.buffer()]));
    return new Promise((done, fail) => this.#waiting.set(serial, { done, fail }));
  }

  end() {
    this.#socket.end();
  }

  #take(data) {
    this.#received = Buffer.concat([this.#received, data]);
    while (this.#received.length >= 16) {
      const fields = 16 + this.#received.readUInt32LE(12);
      const head = fields + ((8 - (fields % 8)) % 8);
      const length = head + this.#received.readUInt32LE(4);
      if (this.#received.length < length) return;
      this.#dispatch(this.#received.subarray(0, head), this.#received.subarray(head, length));
      this.#received = this.#received.subarray(length);
    }
  }

  #dispatch(head, body) {
    const reader = new Reader(head);
    reader.at = 12;
    const fields = new Map(reader.read("a(yv)"));
    const [kReplySerial, kSignature, kErrorName, kReply] = [5, 8, 4, 2];
    const waiting = this.#waiting.get(fields.get(kReplySerial));
    if (!waiting) return;
    this.#waiting.delete(fields.get(kReplySerial));
    const content = new Reader(body);
    const values = typesOf(fields.get(kSignature) ?? "").map((type) => content.read(type));
    if (head[1] === kReply) waiting.done(values[0]);
    else waiting.fail(new Error(`${fields.get(kErrorName)}: ${values[0]}`));
  }
}

const path = process.argv[2] && resolve(process.argv[2]);
if (!path) {
  console.error("usage: node_client.mjs FILE");
  process.exit(2);
}
const helper = await Helper.connect();
// What may be nil is an array of no or one element.
const supported = await helper.call("SupportsFile", "av", [variant("s", path)]);
console.log(`an importer reads its type: ${supported ? "yes" : "no"}`);
// Files of 16 MiB and more would have to travel as a sealed memory file.
const pdf = variant("ay", readFileSync(path));
const [answer] = await helper.call("AttributedStringWithPDF", "bav", false, [pdf]);
if (answer) for (const [key, value] of Object.entries(answer)) console.log(`${key}: ${value}`);
else console.log("not a PDF");
helper.end();
