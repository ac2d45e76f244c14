#include <array>
#include <new>

#include "packetdb/identity_set.h"
#include "packetdb/storage.h"

namespace packetdb {

struct NodePool::Block {
  Block* next;
  std::array<CLinkedDrvErrorItem, 170> nodes;  // 16 KiB with what the heap needs
};

NodePool::~NodePool() { FreeBlocks(); }

void NodePool::FreeBlocks() {
  while (m_Blocks != nullptr) {
    Block* const next = m_Blocks->next;
    delete m_Blocks;
    m_Blocks = next;
  }
  m_Free = nullptr;
}

void NodePool::AddBlock() {
  auto* const block = new (std::nothrow) Block;
  if (block == nullptr) {
    return;
  }
  block->next = m_Blocks;
  m_Blocks = block;
  for (CLinkedDrvErrorItem& node : block->nodes) {
    node.m_Next = m_Free;
    m_Free = &node;
  }
}

CLinkedDrvErrorItem* NodePool::Take() {
  if (m_Free == nullptr) {
    AddBlock();
  }
  CLinkedDrvErrorItem* const node = m_Free;
  if (node == nullptr) {
    return nullptr;
  }
  m_Free = node->m_Next;
  ++m_Taken;
  *node = CLinkedDrvErrorItem();
  return node;
}

void NodePool::Return(CLinkedDrvErrorItem* node) {
  node->m_Next = m_Free;
  m_Free = node;
  --m_Taken;
}

void NodePool::Trim() {
  if (m_Taken == 0) {
    FreeBlocks();
  }
}

}  // namespace packetdb
