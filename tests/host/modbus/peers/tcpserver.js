// A Modbus TCP server of somebody else on a free port of the loopback address, which it tells on
// standard error:
//   node tcpserver.js FOLDER modbus-serial|jsmodbus
// Holding register n holds 257 * n, input register n 65535 - n; each third coil and each second
// discrete input is on. There are 200 of each.
"use strict";
const net = require("net");
const path = require("path");

const [folder, kind] = process.argv.slice(2);
const count = 200;
const load = (name) => require(path.join(folder, "node_modules", name));

function serveModbusSerial(port) {
  const holding = Array.from({ length: count }, (_, n) => (257 * n) & 0xffff);
  const coils = Array.from({ length: count }, (_, n) => n % 3 === 0);
  const known = (n) => {
    if (n >= count) throw { modbusErrorCode: 2 };
    return n;
  };
  const { ServerTCP } = load("modbus-serial");
  const server = new ServerTCP(
    {
      getHoldingRegister: (n) => holding[known(n)],
      getInputRegister: (n) => 65535 - known(n),
      getCoil: (n) => coils[known(n)],
      getDiscreteInput: (n) => known(n) % 2 === 1,
      setRegister: (n, value) => { holding[known(n)] = value; },
      setCoil: (n, value) => { coils[known(n)] = value; },
    },
    { host: "127.0.0.1", port, unitID: 9 }
  );
  server.on("initialized", () => console.error(`port ${port}.`));
}

function serveJsmodbus(port) {
  const modbus = load("jsmodbus");
  const holding = Buffer.alloc(2 * count);
  const input = Buffer.alloc(2 * count);
  const coils = Buffer.alloc(count / 8);
  const discrete = Buffer.alloc(count / 8);
  for (let n = 0; n < count; ++n) {
    holding.writeUInt16BE((257 * n) & 0xffff, 2 * n);
    input.writeUInt16BE(65535 - n, 2 * n);
    if (n % 3 === 0) coils[n >> 3] |= 1 << (n & 7);
    if (n % 2 === 1) discrete[n >> 3] |= 1 << (n & 7);
  }
  const server = new net.Server();
  new modbus.server.TCP(server, { holding, input, coils, discrete });
  server.listen(port, "127.0.0.1", () => console.error(`port ${port}.`));
}

const free = net.createServer().listen(0, "127.0.0.1", () => {
  const { port } = free.address();
  free.close(() => (kind === "jsmodbus" ? serveJsmodbus(port) : serveModbusSerial(port)));
});
