"""A Modbus RTU server of somebody else on a serial line:
    rtuserver.py DEVICE
Unit 7 has what tcpserver.js describes; unit 8 nothing but one holding register."""
import asyncio
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server import async_io
from pymodbus.transaction import ModbusRtuFramer

COUNT = 200


def block(values):
    return ModbusSequentialDataBlock(0, list(values))


async def serve(device):
    slaves = {
        7: ModbusSlaveContext(
            hr=block((257 * n) & 0xFFFF for n in range(COUNT)),
            ir=block(65535 - n for n in range(COUNT)),
            co=block(n % 3 == 0 for n in range(COUNT)),
            di=block(n % 2 == 1 for n in range(COUNT)),
            zero_mode=True,
        ),
        8: ModbusSlaveContext(hr=block([5]), zero_mode=True),
    }
    server = async_io.ModbusSerialServer(
        ModbusServerContext(slaves=slaves, single=False),
        framer=ModbusRtuFramer,
        port=device,
        baudrate=19200,
        ignore_missing_slaves=True,
    )
    await server.start()
    print("serving", file=sys.stderr, flush=True)
    await server.serve_forever()


asyncio.run(serve(sys.argv[1]))
