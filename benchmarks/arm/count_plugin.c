/* A plugin of qemu's user emulation: which blocks of instructions were executed between two marks, and how often.
 *
 * A block is the straight run of instructions that the emulator translates at once. The program marks where to begin
 * (hint #126) and where to end (hint #127). At each end the file of the argument out=FILE gets a line "address
 * executions word word ..." for each block executed since the beginning, hexadecimal but for the executions, and a line
 * "end". For programs of one thread. The declarations are those of the plugin interface, version 1, for which
 * distributions package no header. */
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORT __attribute__((visibility("default")))

typedef uint64_t qemu_plugin_id_t;
typedef struct qemu_info qemu_info_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum qemu_plugin_op
{
    QEMU_PLUGIN_INLINE_ADD_U64
};
enum qemu_plugin_cb_flags
{
    QEMU_PLUGIN_CB_NO_REGS
};
typedef void (*qemu_plugin_vcpu_tb_trans_cb_t)(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void (*qemu_plugin_vcpu_udata_cb_t)(unsigned int cpu, void* userdata);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, qemu_plugin_vcpu_tb_trans_cb_t callback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, enum qemu_plugin_op op, void* at,
                                              uint64_t operand);
void qemu_plugin_register_vcpu_insn_exec_cb(struct qemu_plugin_insn* insn, qemu_plugin_vcpu_udata_cb_t callback,
                                            enum qemu_plugin_cb_flags flags, void* userdata);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t index);
const void* qemu_plugin_insn_data(const struct qemu_plugin_insn* insn);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn* insn);

EXPORT int qemu_plugin_version = 1;

struct block
{
    struct block* next;
    uint64_t address;
    uint64_t executions;
    size_t length;
    uint32_t words[];
};

static const uint32_t kBegin = 0xd5032fdf; /* hint #126 */
static const uint32_t kEnd = 0xd5032fff;   /* hint #127 */
static struct block* blocks;
static FILE* out;

static void begin(unsigned int cpu, void* userdata)
{
    (void)cpu, (void)userdata;
    for (struct block* b = blocks; b; b = b->next)
        b->executions = 0;
}

static void end(unsigned int cpu, void* userdata)
{
    (void)cpu, (void)userdata;
    for (struct block* b = blocks; b; b = b->next)
    {
        if (b->executions == 0)
            continue;
        fprintf(out, "%llx %llu", (unsigned long long)b->address, (unsigned long long)b->executions);
        for (size_t i = 0; i < b->length; ++i)
            fprintf(out, " %08x", b->words[i]);
        fputc('\n', out);
    }
    fputs("end\n", out);
    fflush(out);
}

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* translation)
{
    (void)id;
    const size_t length = qemu_plugin_tb_n_insns(translation);
    struct block* b = malloc(sizeof *b + length * sizeof b->words[0]);
    if (!b)
        abort();
    b->address = qemu_plugin_insn_vaddr(qemu_plugin_tb_get_insn(translation, 0));
    b->executions = 0;
    b->length = length;
    for (size_t i = 0; i < length; ++i)
    {
        struct qemu_plugin_insn* insn = qemu_plugin_tb_get_insn(translation, i);
        memcpy(&b->words[i], qemu_plugin_insn_data(insn), sizeof b->words[i]);
        if (b->words[i] == kBegin)
            qemu_plugin_register_vcpu_insn_exec_cb(insn, begin, QEMU_PLUGIN_CB_NO_REGS, NULL);
        if (b->words[i] == kEnd)
            qemu_plugin_register_vcpu_insn_exec_cb(insn, end, QEMU_PLUGIN_CB_NO_REGS, NULL);
    }
    b->next = blocks;
    blocks = b;
    qemu_plugin_register_vcpu_tb_exec_inline(translation, QEMU_PLUGIN_INLINE_ADD_U64, &b->executions, 1);
}

EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc, char** argv)
{
    (void)info;
    for (int i = 0; i < argc; ++i)
    {
        if (strncmp(argv[i], "out=", 4) == 0)
            out = fopen(argv[i] + 4, "w");
    }
    if (!out)
    {
        fputs("count_plugin: out=FILE is missing or cannot be written\n", stderr);
        return 1;
    }
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    return 0;
}
