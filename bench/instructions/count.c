/* Makes qemu-user count the instructions that a program executes, and print their number when it ends. Debian has no
   header of the emulator's plugins: the few of its functions that are called here are declared as its manual has them.
 */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

struct qemu_plugin_tb;
enum { kAdd = 0 };
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, void (*translated)(uint64_t id, struct qemu_plugin_tb *block));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block, int operation, void *number,
                                              uint64_t operand);
void qemu_plugin_register_atexit_cb(uint64_t id, void (*ended)(uint64_t id, void *data), void *data);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;
static uint64_t executed;

static void Translated(uint64_t id, struct qemu_plugin_tb *block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, kAdd, &executed, qemu_plugin_tb_n_insns(block));
}

static void Ended(uint64_t id, void *data)
{
    (void)id, (void)data;
    fprintf(stderr, "%llu\n", (unsigned long long)executed);
}

__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const void *info, int count, char **options)
{
    (void)info, (void)count, (void)options;
    qemu_plugin_register_vcpu_tb_trans_cb(id, Translated);
    qemu_plugin_register_atexit_cb(id, Ended, NULL);
    return 0;
}
