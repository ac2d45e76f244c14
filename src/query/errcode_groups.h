// The groups of event codes that a query can name by a negative number.
#pragma once

namespace packetdb {

struct ErrcodeGroup {
  int key;
  int codes[100];  // ended by 0; negative entries name further groups
};

// Ends with the row of key 0, which holds nothing. Group -15 is deliberately not part of group -1:
// only -1 in front of a query's list means every code.
inline constexpr ErrcodeGroup errcode_groups[] = {
    {-1, {-2, -5, -8, -14}},
    {-2, {-3, -4, -8}},
    {-3, {1, 2, 3, 4, 5, 7, 8, 9, 10, 13, 14, 15, 16, 17, 18, 19, 70, 26, 118}},
    {-4, {22, 23, 30, 31, 32, 33, 37, 38, 39, 24, 20, 21}},
    {-5, {-6, -7}},
    {-6, {40, 41, 44, 45}},
    {-7, {60, 61, 62, 63, 64, 65, 67}},
    {-8, {80,  81,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  92,  93,
          94,  95,  97,  98,  99,  100, 101, 102, 103, 104, 105, 111, 112, 113,
          129, 130, 131, 132, 133, 134, 135, 136, 137, 139, 142, 147}},
    {-14, {42, 46, 47, 48, 49, 110}},
    {-15, {114, 115, 116, 117, 119, 120, 121, 122}},
    {0, {}},
};

}  // namespace packetdb
