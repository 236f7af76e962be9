// SPDX-License-Identifier: GPL-2.0
/*
 * The hardware of a simulated unit on a real kernel: i2c bus 0 with 24Cxx EEPROMs behind it (for the
 * kernel's at24 driver), UIO device 0 with the FPGA's register page, and the carrier board's memory as
 * /dev/qorpic0. Every byte that crosses the simulated bus is counted, so the test can see how much a
 * discovery reads through the real drivers.
 */

#include <linux/fs.h>
#include <linux/i2c.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/platform_device.h>
#include <linux/slab.h>
#include <linux/uio_driver.h>
#include <linux/vmalloc.h>

static unsigned int fpga;
module_param(fpga, uint, 0444);
MODULE_PARM_DESC(fpga, "32-bit value of the FPGA register at byte 0x1d8 of UIO map 0");

static int uio = 1;
module_param(uio, int, 0444);
MODULE_PARM_DESC(uio, "UIO device 0: 0 none, 1 one 4 KiB map, 2 no map");

static unsigned int pic_size = 2048;
module_param(pic_size, uint, 0444);
MODULE_PARM_DESC(pic_size, "bytes of the carrier board memory /dev/qorpic0; 0: no such device");

static int pic_seek_end;
module_param(pic_seek_end, int, 0444);
MODULE_PARM_DESC(pic_seek_end, "lseek(SEEK_END) on /dev/qorpic0: 0 the size, 1 EINVAL, 2 as if empty");

static int nak;
module_param(nak, int, 0644);
MODULE_PARM_DESC(nak, "i2c address of a chip that stops answering; 0: none");

#define FPGA_REGISTER 0x1d8

struct sim_chip {
	u16 addr;
	unsigned int size;
	unsigned int addr_bytes;
	unsigned int pointer;
	unsigned long read_count;
	u8 *mem;
};

/* The kernel's i2c-stub knows no 16-bit word addresses, which a 24c32 needs. */
static struct sim_chip chips[] = {
	{ .addr = 0x50, .size = 4096, .addr_bytes = 2 },
	{ .addr = 0x51, .size = 256, .addr_bytes = 1 },
	{ .addr = 0x55, .size = 256, .addr_bytes = 1 },
};

static struct platform_device *sim_pdev;
static u8 *pic_mem;
static unsigned long pic_read_count;
static DEFINE_MUTEX(pic_lock);
static void *uio_page;
static struct uio_info uio_info = { .name = "qorsimfpga", .version = "1" };
static bool uio_registered, pic_registered;

static struct sim_chip *chip_at(u16 addr)
{
	int i;

	for (i = 0; i < ARRAY_SIZE(chips); i++)
		if (chips[i].addr == addr)
			return &chips[i];
	return NULL;
}

/* A write sets the word address and stores what follows it; a read goes on from the word address. */
static void chip_transfer(struct sim_chip *chip, struct i2c_msg *msg)
{
	unsigned int i = 0;

	if (msg->flags & I2C_M_RD) {
		for (; i < msg->len; i++, chip->pointer = (chip->pointer + 1) % chip->size)
			msg->buf[i] = chip->mem[chip->pointer];
		chip->read_count += msg->len;
		return;
	}
	if (msg->len >= chip->addr_bytes) {
		unsigned int word = 0;

		for (; i < chip->addr_bytes; i++)
			word = (word << 8) | msg->buf[i];
		chip->pointer = word % chip->size;
	}
	for (; i < msg->len; i++, chip->pointer = (chip->pointer + 1) % chip->size)
		chip->mem[chip->pointer] = msg->buf[i];
}

static int sim_xfer(struct i2c_adapter *adap, struct i2c_msg *msgs, int num)
{
	int i;

	for (i = 0; i < num; i++) {
		struct sim_chip *chip = chip_at(msgs[i].addr);

		if (!chip || msgs[i].addr == READ_ONCE(nak))
			return -ENXIO;
		chip_transfer(chip, &msgs[i]);
	}
	return num;
}

static u32 sim_functionality(struct i2c_adapter *adap)
{
	return I2C_FUNC_I2C;
}

static const struct i2c_algorithm sim_algorithm = {
	.master_xfer = sim_xfer,
	.functionality = sim_functionality,
};

static struct i2c_adapter sim_adapter = {
	.owner = THIS_MODULE,
	.algo = &sim_algorithm,
	.name = "qorsimbus",
	.nr = 0,
};

static ssize_t pic_read(struct file *file, char __user *buf, size_t count, loff_t *ppos)
{
	ssize_t done;

	mutex_lock(&pic_lock);
	done = simple_read_from_buffer(buf, count, ppos, pic_mem, pic_size);
	if (done > 0)
		pic_read_count += done;
	mutex_unlock(&pic_lock);
	return done;
}

static ssize_t pic_write(struct file *file, const char __user *buf, size_t count, loff_t *ppos)
{
	ssize_t done;

	mutex_lock(&pic_lock);
	done = simple_write_to_buffer(pic_mem, pic_size, ppos, buf, count);
	mutex_unlock(&pic_lock);
	return done;
}

/* Many drivers of such memories cannot tell their size: they refuse SEEK_END or answer 0. */
static loff_t pic_llseek(struct file *file, loff_t offset, int whence)
{
	if (whence == SEEK_END && pic_seek_end == 1)
		return -EINVAL;
	if (whence == SEEK_END && pic_seek_end == 2)
		return generic_file_llseek_size(file, offset, whence, MAX_LFS_FILESIZE, 0);
	return fixed_size_llseek(file, offset, whence, pic_size);
}

static const struct file_operations pic_fops = {
	.owner = THIS_MODULE,
	.read = pic_read,
	.write = pic_write,
	.llseek = pic_llseek,
};

static struct miscdevice pic_device = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "qorpic0",
	.fops = &pic_fops,
	.mode = 0600,
};

/* The bytes read from each chip ("0x50 READ") and from the carrier board's memory ("pic READ"); writing
 * anything sets them back to 0. */
static ssize_t transferred_show(struct device *dev, struct device_attribute *attr, char *buf)
{
	int i, len = 0;

	for (i = 0; i < ARRAY_SIZE(chips); i++)
		len += sysfs_emit_at(buf, len, "0x%02x %lu\n", chips[i].addr, chips[i].read_count);
	return len + sysfs_emit_at(buf, len, "pic %lu\n", pic_read_count);
}

static ssize_t transferred_store(struct device *dev, struct device_attribute *attr, const char *buf,
				 size_t count)
{
	int i;

	i2c_lock_bus(&sim_adapter, I2C_LOCK_ROOT_ADAPTER);
	for (i = 0; i < ARRAY_SIZE(chips); i++)
		chips[i].read_count = 0;
	i2c_unlock_bus(&sim_adapter, I2C_LOCK_ROOT_ADAPTER);
	mutex_lock(&pic_lock);
	pic_read_count = 0;
	mutex_unlock(&pic_lock);
	return count;
}
static DEVICE_ATTR_RW(transferred);

static void sim_teardown(void)
{
	int i;

	if (uio_registered)
		uio_unregister_device(&uio_info);
	if (pic_registered)
		misc_deregister(&pic_device);
	if (sim_adapter.dev.parent)
		i2c_del_adapter(&sim_adapter);
	if (sim_pdev) {
		device_remove_file(&sim_pdev->dev, &dev_attr_transferred);
		platform_device_unregister(sim_pdev);
	}
	free_page((unsigned long)uio_page);
	vfree(pic_mem);
	for (i = 0; i < ARRAY_SIZE(chips); i++)
		kfree(chips[i].mem);
}

static int sim_setup(void)
{
	int i, err;

	for (i = 0; i < ARRAY_SIZE(chips); i++) {
		chips[i].mem = kmalloc(chips[i].size, GFP_KERNEL);
		if (!chips[i].mem)
			return -ENOMEM;
		memset(chips[i].mem, 0xff, chips[i].size);
	}
	sim_pdev = platform_device_register_simple("qorsimbus", -1, NULL, 0);
	if (IS_ERR(sim_pdev)) {
		err = PTR_ERR(sim_pdev);
		sim_pdev = NULL;
		return err;
	}
	err = device_create_file(&sim_pdev->dev, &dev_attr_transferred);
	if (err)
		return err;

	sim_adapter.dev.parent = &sim_pdev->dev;
	err = i2c_add_numbered_adapter(&sim_adapter);
	if (err) {
		sim_adapter.dev.parent = NULL;
		return err;
	}

	if (pic_size) {
		pic_mem = vmalloc(pic_size);
		if (!pic_mem)
			return -ENOMEM;
		memset(pic_mem, 0xff, pic_size);
		err = misc_register(&pic_device);
		if (err)
			return err;
		pic_registered = true;
	}

	if (uio) {
		uio_page = (void *)get_zeroed_page(GFP_KERNEL);
		if (!uio_page)
			return -ENOMEM;
		*(u32 *)(uio_page + FPGA_REGISTER) = cpu_to_le32(fpga);
		uio_info.mem[0].memtype = UIO_MEM_LOGICAL;
		uio_info.mem[0].addr = (phys_addr_t)(unsigned long)uio_page;
		uio_info.mem[0].size = uio == 1 ? PAGE_SIZE : 0;
		err = uio_register_device(&sim_pdev->dev, &uio_info);
		if (err)
			return err;
		uio_registered = true;
	}
	return 0;
}

static int __init qorsimbus_init(void)
{
	int err = sim_setup();

	if (err)
		sim_teardown();
	return err;
}

static void __exit qorsimbus_exit(void)
{
	sim_teardown();
}

module_init(qorsimbus_init);
module_exit(qorsimbus_exit);
MODULE_DESCRIPTION("Simulated i2c EEPROMs, FPGA registers and carrier board memory for tests");
MODULE_LICENSE("GPL");
