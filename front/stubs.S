/* The symbols of libtnk.so.

   An entry of the kernel library is a stub that jumps through its slot. A slot first leads back into its stub, which
   has all entries found; then it holds the address of the entry:

     name:  jump to where the slot says ────────► the kernel's entry
       1:   have the entries found ◄─ slot, at first

   What a caller passes in registers and on the stack stays there on both ways, so a stub serves any list of arguments.
   The call in the second half leaves an address in the stub by which it is known, and a trace of calls shows its name. */

	.section .note.gnu.property, "a"	/* fit for indirect-branch tracking and shadow stacks */
	.p2align 3
	.long	4, 16, 5			/* lengths of name and properties, type */
	.asciz	"GNU"
	.long	0xc0000002, 4, 3, 0		/* features of x86 that all code here has: both */

	.section .note.GNU-stack, "", @progbits

/* ---- Entries of the kernel library ---- */

	.macro entry name
	.p2align 5, 0xcc			/* find.cpp counts on 32 bytes */
	.globl	\name
	.type	\name, @function
\name:
	endbr64
	jmp	*.Lslot\@(%rip)
.Lfirst\@:
	endbr64
	call	find
	jmp	*%r11
	.size	\name, . - \name

	.pushsection .data
.Lslot\@:
	.quad	.Lfirst\@
	.popsection

	.pushsection .rodata.names, "a", @progbits
.Lname\@:
	.asciz	"\name"
	.popsection

	.pushsection .rodata.offsets, "a", @progbits
	.long	.Lname\@ - tnk_front_names
	.popsection
	.endm

/* ---- Names of the host ----
   For link editors, which look for a program's names in the libraries of its command line alone. There is nothing behind
   them: the library is a filter, and at run time the host comes before it in every search. Objects have their size
   here, since a program that is no position-independent code gets a copy of them. */

	.macro host_function name
	host_name \name, function, 8
	.endm
	.macro host_object name, size
	host_name \name, object, \size
	.endm
	.macro host_name name, type, size
	.pushsection .host, "aw", @nobits
	.p2align 3
	.globl	\name
	.type	\name, @\type
	.size	\name, \size
\name:
	.skip	\size
	.popsection
	.endm

	.section .rodata.names, "a", @progbits
	.globl	tnk_front_names
	.hidden	tnk_front_names
tnk_front_names:

	.section .rodata.offsets, "a", @progbits
	.globl	tnk_front_offsets
	.hidden	tnk_front_offsets
	.p2align 2
tnk_front_offsets:

	.data
	.globl	tnk_front_slots
	.hidden	tnk_front_slots
	.p2align 6
tnk_front_slots:

	.text
	.globl	tnk_front_stubs
	.hidden	tnk_front_stubs
	.p2align 5
tnk_front_stubs:
	.cfi_startproc				/* the same anywhere in a stub: the return address on top */
#include "names.inc"
	.cfi_endproc

	.data
	.globl	tnk_front_slots_end
	.hidden	tnk_front_slots_end
tnk_front_slots_end:

/* ---- Finding the entries ----
   Called by a stub. Gives in r11 where it is to go on; all other registers that may carry an argument keep it: rax is
   the number of vector registers in calls with variable arguments, r10 the frame of functions within functions. The
   vector registers, of whatever width the system keeps, are saved by the processor. Without the operating system's leave
   to do so there is no AVX, and the call will be refused. */

	.set	vector_state, 0xe6		/* SSE, AVX, and the three parts of AVX-512 */

	.text
	.type	find, @function
find:
	.cfi_startproc
	push	%rbp
	.cfi_def_cfa_offset 16
	.cfi_offset %rbp, -16
	mov	%rsp, %rbp
	.cfi_def_cfa_register %rbp
	push	%rax
	push	%rdi
	push	%rsi
	push	%rdx
	push	%rcx
	push	%r8
	push	%r9
	push	%r10
	push	%rbx
	.cfi_offset %rbx, -88

	mov	$1, %eax
	cpuid
	xor	%ebx, %ebx
	test	$1 << 27, %ecx			/* the system has turned xsave on */
	jz	1f
	mov	$0xd, %eax
	xor	%ecx, %ecx
	cpuid					/* ebx: the room that it needs */
	sub	%rbx, %rsp
	and	$-64, %rsp
	lea	512(%rsp), %rdi			/* its header, which xrstor wants clean */
	mov	$8, %ecx
	xor	%eax, %eax
	cld
	rep stosq
	mov	$vector_state, %eax
	xor	%edx, %edx
	xsave	(%rsp)
1:
	and	$-64, %rsp
	mov	8(%rbp), %rdi			/* an address in the stub */
	call	tnk_front_find			/* rax: the entry, or null and in rdx what is returned for it */
	mov	%rax, %r11
	test	%rax, %rax
	jz	3f
	test	%ebx, %ebx
	jz	2f
	mov	$vector_state, %eax
	xor	%edx, %edx
	xrstor	(%rsp)
2:
	lea	-72(%rbp), %rsp
	pop	%rbx
	.cfi_restore %rbx
	pop	%r10
	pop	%r9
	pop	%r8
	pop	%rcx
	pop	%rdx
	pop	%rsi
	pop	%rdi
	pop	%rax
	pop	%rbp
	.cfi_remember_state
	.cfi_def_cfa %rsp, 8
	.cfi_restore %rbp
	ret

	/* Refused. All ones are NaN as a float, a double and either part of a complex number. */
3:
	.cfi_restore_state
	.cfi_offset %rbx, -88
	mov	%rdx, -8(%rbp)
	pcmpeqd	%xmm0, %xmm0
	pcmpeqd	%xmm1, %xmm1
	lea	refused(%rip), %r11
	jmp	2b
	.cfi_endproc
	.size	find, . - find

	.type	refused, @function
refused:
	.cfi_startproc
	endbr64
	ret
	.cfi_endproc
	.size	refused, . - refused
