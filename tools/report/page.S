    .section .rodata
    .global PageHead, PageTail
PageHead:
    .incbin "page-head"
    .byte 0
PageTail:
    .incbin "page-tail"
    .byte 0
    .section .note.GNU-stack, "", %progbits
