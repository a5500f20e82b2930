#include "host/modbus/zrmodbusmessage.h"

#include <gtest/gtest.h>

namespace {

using Outcome = ZRModbusOutcome;
using Words = std::vector<std::uint16_t>;

TEST(ModbusMessage, AsksInTheBytesOfTheProtocol) {
  EXPECT_EQ((ZRBytes{3, 0x01, 0x02, 0, 2}),
            RequestBytes(ReadRequest(ZRModbusTable::kHolding, 0x102, 2)));
  EXPECT_EQ((ZRBytes{5, 0, 7, 0xFF, 0}), RequestBytes(WriteRequest(ZRModbusTable::kCoils, 7, {1})));
  EXPECT_EQ((ZRBytes{5, 0, 7, 0, 0}), RequestBytes(WriteRequest(ZRModbusTable::kCoils, 7, {0})));
  EXPECT_EQ((ZRBytes{6, 0, 7, 0x12, 0x34}),
            RequestBytes(WriteRequest(ZRModbusTable::kHolding, 7, {0x1234})));
  EXPECT_EQ((ZRBytes{16, 0, 7, 0, 2, 4, 0x12, 0x34, 0x56, 0x78}),
            RequestBytes(WriteRequest(ZRModbusTable::kHolding, 7, {0x1234, 0x5678})));
}

TEST(ModbusMessage, ReadsRegistersAndBits) {
  const ZRModbusAnswer registers =
      ReadAnswer(ReadRequest(ZRModbusTable::kInput, 0, 2), ZRBytes{4, 4, 1, 2, 3, 4});
  EXPECT_EQ(Outcome::kDone, registers.outcome);
  EXPECT_EQ((Words{0x102, 0x304}), registers.values);
  const ZRModbusAnswer bits =
      ReadAnswer(ReadRequest(ZRModbusTable::kCoils, 0, 9), ZRBytes{1, 2, 0b1000'0101, 1});
  EXPECT_EQ((Words{1, 0, 1, 0, 0, 0, 0, 1, 1}), bits.values);
}

TEST(ModbusMessage, TakesNoOtherAnswer) {
  const ZRModbusRequest request = ReadRequest(ZRModbusTable::kHolding, 0, 2);
  const std::vector<ZRBytes> wrong{{},
                                   {3},
                                   {3, 4},
                                   {3, 4, 1, 2, 3},
                                   {3, 4, 1, 2, 3, 4, 5},
                                   {3, 2, 1, 2},
                                   {3, 6, 1, 2, 3, 4, 5, 6},
                                   {3, 6, 1, 2, 3, 4},
                                   {4, 4, 1, 2, 3, 4},
                                   {0x84, 2},
                                   {0x83},
                                   {0x83, 2, 0}};
  for (const ZRBytes& bytes : wrong)
    EXPECT_EQ(Outcome::kWrong, ReadAnswer(request, bytes).outcome) << bytes.size();
}

TEST(ModbusMessage, AWriteIsEchoed) {
  const ZRModbusRequest one = WriteRequest(ZRModbusTable::kHolding, 7, {0x1234});
  EXPECT_EQ(Outcome::kDone, ReadAnswer(one, ZRBytes{6, 0, 7, 0x12, 0x34}).outcome);
  EXPECT_EQ(Outcome::kWrong, ReadAnswer(one, ZRBytes{6, 0, 7, 0x12, 0x35}).outcome);
  EXPECT_EQ(Outcome::kWrong, ReadAnswer(one, ZRBytes{6, 0, 7, 0x12}).outcome);
  const ZRModbusRequest more = WriteRequest(ZRModbusTable::kHolding, 7, {1, 2});
  EXPECT_EQ(Outcome::kDone, ReadAnswer(more, ZRBytes{16, 0, 7, 0, 2}).outcome);
  EXPECT_EQ(Outcome::kWrong, ReadAnswer(more, ZRBytes{16, 0, 7, 0, 1}).outcome);
}

TEST(ModbusMessage, KnowsRefusals) {
  const ZRModbusAnswer answer =
      ReadAnswer(ReadRequest(ZRModbusTable::kHolding, 0, 2), ZRBytes{0x83, 2});
  EXPECT_EQ(Outcome::kException, answer.outcome);
  EXPECT_EQ("exception 2, illegal data address", ExceptionText(answer.exception));
  EXPECT_EQ("exception 9", ExceptionText(9));
  EXPECT_EQ("exception 255", ExceptionText(255));
}

TEST(ModbusMessage, TakesATcpFrameOfItsTransactionAndUnitOnly) {
  const ZRBytes frame = TcpFrame(0x102, 9, ZRBytes{3, 2, 5, 6});
  EXPECT_EQ((ZRBytes{1, 2, 0, 0, 0, 5, 9, 3, 2, 5, 6}), frame);
  ZRByteView bytes;
  ASSERT_TRUE(TakeTcpFrame(frame, 0x102, 9, bytes));
  EXPECT_EQ((ZRBytes{3, 2, 5, 6}), ZRBytes(bytes.begin(), bytes.end()));
  EXPECT_FALSE(TakeTcpFrame(frame, 0x103, 9, bytes));
  EXPECT_FALSE(TakeTcpFrame(frame, 0x102, 8, bytes));
  for (const std::size_t at : {2u, 3u, 4u, 5u}) {  // protocol and length
    ZRBytes other = frame;
    other[at] ^= 1;
    EXPECT_FALSE(TakeTcpFrame(other, 0x102, 9, bytes)) << at;
  }
  for (std::size_t size = 0; size < frame.size(); ++size)
    EXPECT_FALSE(TakeTcpFrame(ZRByteView(frame).first(size), 0x102, 9, bytes)) << size;
}

TEST(ModbusMessage, TakesASerialFrameOfItsUnitOnly) {
  const ZRBytes frame{9, 3, 2, 5, 6, 0xAA, 0xBB};
  ZRByteView bytes;
  ASSERT_TRUE(TakeSerialFrame(frame, 9, bytes));
  EXPECT_EQ((ZRBytes{3, 2, 5, 6}), ZRBytes(bytes.begin(), bytes.end()));
  EXPECT_FALSE(TakeSerialFrame(frame, 8, bytes));
  EXPECT_FALSE(TakeSerialFrame(ZRByteView(frame).first(3), 9, bytes));
  EXPECT_FALSE(TakeSerialFrame({}, 9, bytes));
}

}  // namespace
