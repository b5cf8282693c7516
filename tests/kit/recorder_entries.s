# Where the DLL's recorded calls arrive: entry n hands its number and the place
# of its arguments to KitDispatch, which answers with the result and the bytes
# of arguments that a __stdcall function takes off.

    .text
    .globl _KitEntries
    .balign 16
_KitEntries:
    .set number, 0
    .rept 224
    .balign 16
    pushl $number
    jmp dispatch
    .set number, number + 1
    .endr

dispatch:
    leal 8(%esp), %eax
    pushl %eax
    pushl 4(%esp)
    call _KitDispatch
    addl $12, %esp
    popl %ecx
    addl %edx, %esp
    jmp *%ecx

# DWORD KitCall(void* function, const DWORD* arguments, DWORD count)
    .globl _KitCall
_KitCall:
    pushl %ebp
    movl %esp, %ebp
    pushl %esi
    pushl %edi
    movl 16(%ebp), %ecx
    movl 12(%ebp), %esi
    leal (,%ecx,4), %eax
    subl %eax, %esp
    movl %esp, %edi
    cld
    rep movsl
    call *8(%ebp)
    leal -8(%ebp), %esp
    popl %edi
    popl %esi
    popl %ebp
    ret
