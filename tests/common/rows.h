// The rows that the mode tables list.
#ifndef VISORA_TESTS_COMMON_ROWS_H
#define VISORA_TESTS_COMMON_ROWS_H

#include <cstdint>
#include <set>
#include <sstream>
#include <string>

namespace visora::test
{

constexpr char kLowPowerRows[] =
    "1 2 3 16 18 19 29 30 31 38 43 44 45 46 75 136 141 142 143 144 146 148-160 162 171 192 195 200-215 217 218 230 235 "
    "257 260 270-272 274-283 285-287 289 292 293 296 304 329 330 333 337-339 341 342 345 346 348 349 351 353 354 356 "
    "357 368 369 375 376 378 379 381 383 384 386 394 395 398 400-402 404-408 410 411 415 417 419 421 422 425-428 "
    "430-432 435-438 454 457-460 466-475 483 484 486 487 496 498-501 503 505";
constexpr char kPerformanceRows[] =
    "18 43 136 146 148-157 160 200 201 202 215 217 283 345 346 349 353 354 401 407 408 415 468 469 474 475";
constexpr char kCpuOffloadRows[] =
    "1 2 3 6 22 23 29 30 31 45 46 48 49 66 136 141-144 146 148-160 162 171 192 195 200-215 217 218 224 228 230 235 247 "
    "257 258 260 262 266 268 270-287 289 292-294 296 297 304 305 307 308 329 330 333 335 337-342 345 346 348 349 351 "
    "353-360 368 369 375-379 381 383 384 386 394 395 397 398 400-408 410-415 418-422 424-428 430-432 434-438 443 444 "
    "446-448 452 454-460 465-477 481-484 486 487 494 496 498-501 503 505";
constexpr char kGpuRows[] = "1 2 29 43 136 160 338 394 395";

/** "1 3-5" is {1, 3, 4, 5}. */
inline std::set<uint32_t> rowsOf(const char* ranges)
{
    std::set<uint32_t> rows;
    std::istringstream in(ranges);
    for (std::string range; in >> range;)
    {
        const size_t dash = range.find('-');
        const auto first = static_cast<uint32_t>(std::stoul(range));
        const uint32_t last =
            dash == std::string::npos ? first : static_cast<uint32_t>(std::stoul(range.substr(dash + 1)));
        for (uint32_t row = first; row <= last; ++row)
        {
            rows.insert(row);
        }
    }
    return rows;
}

}  // namespace visora::test

#endif
