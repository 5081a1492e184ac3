#pragma once
// The desktop clipboard for tests: wave bytes held in memory.

#include <cstdint>
#include <vector>

#include "edit/document_controller.h"

namespace osmera::testing {

class MemoryClipboard : public LClipboardExchange {
  public:
    bool GetWaveData(std::vector<uint8_t>& out) override {
        out = bytes;
        return !bytes.empty();
    }
    bool SetWaveData(const std::vector<uint8_t>& in) override {
        bytes = in;
        return true;
    }
    std::vector<uint8_t> bytes;
};

}  // namespace osmera::testing
